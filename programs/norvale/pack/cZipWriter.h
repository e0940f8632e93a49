#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>

/**
 * Writes a zip archive in memory. The same entries give the same bytes, whenever and wherever it is written: the time
 * and the attributes of the entries are fixed, and sizes stand in the local records, not behind the data.
 *
 * Everything that is bound to the archive library is behind this class; where the program is built without one, write()
 * fails with that reason.
 */
class cZipWriter
{
public:
    enum class Method { Stored, Deflated };
    enum class Kind { Data, Program };

    /// Entries are written in the order in which they are added. @p name is ASCII, with "/"; a program may be run when
    /// it is unpacked.
    void add(const QString& name, const QByteArray& bytes, Method method, Kind kind);

    /// @return the archive; empty when it could not be made, and errorString() says why.
    QByteArray write();

    const QString& errorString() const { return m_errorString; }

private:
    struct Entry
    {
        QByteArray name;
        QByteArray bytes;
        Method method;
        Kind kind;
    };

    QList<Entry> m_entries;
    QString m_errorString;
};
