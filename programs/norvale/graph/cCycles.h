#pragma once

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

/// Finds what depends on itself by way of others. Names and arrows between them are added, then find() is called once.
class cCycles
{
public:
    void add(const QString& from, const QString& to);
    void find();

    /// Whether the arrow is a part of a circle.
    bool contains(const QString& from, const QString& to) const;
    bool contains(const QString& name) const;

    /// The names along a circle of each knot, in order.
    QList<QStringList> list() const;

private:
    int numberOf(const QString& name);
    void visit(int root);
    void close(int top);

    // By the number of a name.
    QHash<QString, int> m_numbers;
    QStringList m_names;
    QVector<QVector<int>> m_targets;

    // Of find(): the strongly connected parts, in one walk without recursion.
    QVector<int> m_order;     // in which a name was met, from 1; 0 before
    QVector<int> m_lowest;    // the order of the first one that it reaches
    QVector<int> m_component; // -1 while it is open
    QVector<int> m_open;
    QVector<int> m_sizes; // of components
    int m_count = 0;
};
