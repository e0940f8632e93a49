#pragma once

#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <vector>

/**
 * Which plugins are left out of a run: those that the host names, and what depends on them, directly or by way of
 * others.
 *
 * Plugins are numbers here, as the suite numbers its records. The time is near-linear in plugins and dependencies.
 */
class cLeftOut
{
public:
    /// A plugin that can be left out.
    struct Candidate
    {
        int plugin;
        QString name;
        std::vector<int> dependencies; // their numbers, in manifest order, as far as they are installed
    };

    /// The names that the host has given; nothing is left out by them before find().
    void setNames(const QStringList& names);
    const QStringList& names() const { return m_names; }

    /// Finds out what is left out. @p count is the number of all plugins.
    void find(int count, const QVector<Candidate>& candidates);

    /// Whether nothing is left out and nobody need be asked about.
    bool isNone() const { return m_entries.empty(); }

    bool contains(int plugin) const { return plugin < int(m_entries.size()) && m_entries[plugin].isLeftOut; }

    /// Why the plugin is left out, for people; empty when it is not.
    QString reason(int plugin) const;

private:
    static constexpr int None = -1;

    struct Entry
    {
        QString name;
        bool isLeftOut = false;
        int dependency = None; // that it is left out for; none when it has been named itself
        int depth = 0;         // of the path from it to the one that has been named
        int pathEnd = None;    // where the end of that path begins that is shown of a long one
    };

    void leaveOut(int plugin, int dependency);

    QStringList m_names;
    std::vector<Entry> m_entries; // by the plugins' numbers
};
