#pragma once

#include "services/cLastFound.h"
#include "version/FlatMap.h"
#include "version/cCodeImage.h"

#include <QtCore/QObject>
#include <QtCore/QPointer>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

/**
 * One registered service. It never changes after its construction, so any thread may read it.
 *
 * The object is not owned. It is held by a guarded pointer: once it is destroyed, `service()` is null.
 */
class cServiceInstance : public QObject
{
    Q_OBJECT

public:
    explicit cServiceInstance(QObject* service);

    const QString& name() const { return m_name; }
    QObject* service() const { return m_service.data(); }
    bool isThreadSafe() const { return m_isThreadSafe; }
    /// Where the code of the object's class lies; see cCodeImage.
    const void* code() const { return m_code; }

    /// The id under which an object of this class is published; empty when its class names none.
    static QString idOf(const QObject* object);

private:
    const QString m_name;
    const QPointer<QObject> m_service;
    const bool m_isThreadSafe;
    const void* const m_code;
};

/**
 * The registered services by their ids, at most one an id. Any thread may use it.
 *
 * Only the registry's own data is touched under its lock; a record that is dropped is destroyed after it is released.
 * A look-up that the thread has done before, with nothing changed since, takes no lock that other threads would wait
 * for.
 */
class cServiceRegistry
{
public:
    using Record = QSharedPointer<cServiceInstance>;

    cServiceRegistry() { m_records.max_load_factor(DenseLoad); }

    /// Stores a record under its name, in the place of one that is there. @return that one; null when there was none.
    Record insert(Record record);
    /// @return the record that was stored under @p id; null when there was none.
    Record take(const QString& id);
    /// Takes out that very record, and puts @p before in its place unless that is null. False when it is not there.
    bool withdraw(const Record& record, const Record& before);
    /// @return the records of objects whose code lies in @p image, which are taken out.
    QVector<Record> takeOf(const cCodeImage& image);
    /// Those records as they stand.
    QVector<Record> of(const cCodeImage& image) const;
    void clear();

    bool contains(const QString& id) const;
    /// The object registered under @p id; null when there is none, or when it is gone.
    QObject* object(const QString& id) const;
    /// All ids in ascending order. They are sorted when they are asked for, which is seldom.
    QStringList ids() const;

private:
    /// of(), with the lock held.
    QVector<Record> find(const cCodeImage& image) const;

    cIndexLock m_lock; // guards what follows
    FlatMap<QString, Record> m_records;
};
