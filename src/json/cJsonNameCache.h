#pragma once

#include <QtCore/QString>

#include <array>

/**
 * Member names by their bytes, so that a name that comes again is neither decoded nor allocated, and the same name is
 * the same shared string. A newer name takes the place of an older one with the same hash.
 */
class cJsonNameCache
{
public:
    /// The text of the plain name @p begin to @p end; the bytes must outlive the cache.
    const QString& name(const char* begin, const char* end);

    /// The plain way: the name decoded.
    static QString plainName(const char* begin, const char* end)
    {
        return QString::fromLatin1(begin, int(end - begin));
    }

private:
    struct Entry
    {
        const char* bytes = nullptr;
        quint32 size = 0;
        QString name;
    };

    static constexpr int SlotBits = 9;

    std::array<Entry, 1 << SlotBits> m_entries;
};
