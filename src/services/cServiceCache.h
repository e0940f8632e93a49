#pragma once

#include <QtCore/QPointer>
#include <QtCore/QString>

#include <array>

/**
 * What one thread has looked up last, so that a repeated look-up takes no lock that another thread would wait for.
 *
 * An answer holds for one state of one registry, told by the number of that state: every change of a registry gives it
 * a number that none has had before. The objects are held by guarded pointers, as the answers outlive the records.
 */
class cServiceCache
{
public:
    /// The cache of the calling thread; null when the thread is past the end of it, in the last destructors of all.
    static cServiceCache* ofThread();

    ~cServiceCache();

    struct Entry
    {
        quint64 state = 0; ///< the state that the answer holds for; 0 for no answer
        QString id;
        QPointer<QObject> object;
    };

    /// The one entry that may hold @p id, with an answer for it or for another id.
    Entry& entryFor(const QString& id) { return m_entries[slotOf(id)]; }

private:
    static constexpr std::size_t SlotCount = 32;

    static std::size_t slotOf(const QString& id);

    std::array<Entry, SlotCount> m_entries;
};
