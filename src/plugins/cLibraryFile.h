#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QString>

/**
 * The file of a shared library, held against what its own headers say of its length: the system would map what is not
 * there, and end the process when it is touched. ELF and PE files are understood, on every system; of others nothing is
 * said.
 *
 * Headers are not trusted: each is read within the file, and no length in them makes anything grow.
 */
class cLibraryFile
{
public:
    explicit cLibraryFile(const QString& path) : m_file(path) {}

    /// Why the file is not whole, as a sentence that goes on after its name: "has 10 bytes, and its headers tell of
    /// 40". Empty when nothing speaks against it, and when it cannot be read, which the system tells better.
    QString fault();

    /// Whether the file is there; to be asked after fault().
    bool exists() const { return m_isRead || m_file.exists(); }

private:
    QByteArray read(quint64 offset, int size);
    void need(quint64 offset, quint64 size);
    void readElf();
    void readSegments(quint64 offset, int entrySize, int count);
    void readPe();
    void readSections(quint64 offset, int count);
    quint64 number(const QByteArray& bytes, int offset, int size) const;

    QFile m_file;
    bool m_isRead = false;
    quint64 m_size = 0;
    QByteArray m_begin;    // of the file
    quint64 m_told = 0;    // the least length that the headers allow, as far as they have been read
    bool m_isBig = false;  // the most significant byte comes first
    bool m_isLong = false; // an ELF file of 64 bits
};
