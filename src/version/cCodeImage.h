#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <cstring>
#include <functional>

/**
 * A program or library as it lies in memory. It tells whose code an object runs: the table of its virtual functions
 * lies in the image that its class was compiled into.
 *
 * A small value; any thread may make one. Nothing is followed but the object that codeOf() is asked for.
 */
class cCodeImage
{
public:
    cCodeImage() = default;

    /// The image that @p address lies in; an empty one when it lies in none.
    static cCodeImage around(const void* address);

    /// An address in the image of the class of @p object, which has virtual functions and is alive; null for null.
    static const void* codeOf(const void* object)
    {
        const void* table = nullptr;
        if (object)
            std::memcpy(&table, object, sizeof table);
        return table;
    }

    bool contains(const void* address) const
    {
        return !std::less<>()(address, m_begin) && std::less<>()(address, m_end);
    }

    /// The path of its file; empty for an empty image.
    QString path() const;

private:
    cCodeImage(const void* begin, const void* end, const QByteArray& file) : m_begin(begin), m_end(end), m_file(file) {}

    const void* m_begin = nullptr;
    const void* m_end = nullptr;
    QByteArray m_file; // as the system names it; empty for the program
};
