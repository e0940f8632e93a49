#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QVector>

class cOpenFile;

/**
 * The file of a shared library, as its own headers tell of it without its being loaded: whether it is whole, for the
 * system would map what is not there, and end the process when it is touched; and which Qt it is built with, for that
 * of another major version would be loaded beside the one that runs. ELF and PE files are understood, on every system;
 * of others nothing is said.
 *
 * Headers are not trusted: each is read within the file, no length in them makes anything grow, and lists in them are
 * followed to a bound. An object tells of the file as it was when the object was made.
 */
class cLibraryFile
{
public:
    explicit cLibraryFile(const QString& path);

    /// What has these contents; @p name stands for its path.
    static cLibraryFile ofBytes(const QByteArray& bytes, const QString& name) { return cLibraryFile(bytes, name); }

    /// Whether the file is there.
    bool exists() const { return m_exists; }

    /// Why the file is not whole, as a sentence that goes on after its name: "has 10 bytes, and its headers tell of
    /// 40". Empty when nothing speaks against it, and when it cannot be read, which the system tells better.
    QString fault() const;

    /// The major version of the Qt whose libraries it needs; of several that of this program, if it is among them. 0
    /// when it needs none, or is not whole. What the libraries that it needs need in turn is not looked at.
    int qtMajor() const { return m_qtMajor; }

    /// Why this program does not load it, though it is whole: it is built with another major version of Qt. Names the
    /// file. Empty when nothing speaks against it.
    QString refusal() const;

private:
    /// Bytes of the file that have an address in the loaded library.
    struct Part
    {
        quint64 address;
        quint64 offset;
        quint64 size;
    };

    /// Bytes of the file that have been read.
    struct Window
    {
        quint64 offset;
        QByteArray bytes;

        bool has(quint64 at, int size) const
        {
            return at >= offset && at - offset + quint64(size) <= quint64(bytes.size());
        }
        QByteArray part(quint64 at, int size) const { return bytes.mid(int(at - offset), size); }
    };

    cLibraryFile(const QByteArray& bytes, const QString& name);
    QByteArray read(quint64 offset, int size);
    void need(quint64 offset, quint64 size);
    bool isWhole() const { return m_told <= m_size; }
    quint64 number(const QByteArray& bytes, int offset, int size) const;
    quint64 offsetOf(quint64 address) const;
    void readHeaders();
    void readElf();
    void readSegments(quint64 offset, int entrySize, int count);
    void readDynamic();
    void readPe();
    void readSections(quint64 offset, int count);
    void readDirectories(quint64 offset, int size);
    void addImports(quint64 address, int entrySize, int nameField, QVector<quint64>& names);
    void findQt(const QVector<quint64>& names);

    const QString m_path;
    cOpenFile* m_file = nullptr; // while its headers are read
    bool m_exists = false;
    quint64 m_size = 0;
    Window m_begin{};      // has the headers of nearly all libraries, and of small ones all that is needed
    Window m_window{};     // the one that was read last
    quint64 m_told = 0;    // the least length that the headers allow, as far as they have been read
    QVector<Part> m_parts; // what is loaded
    Part m_dynamic{};      // where an ELF file tells what it needs
    bool m_isBig = false;  // the most significant byte comes first
    bool m_isLong = false; // an ELF file of 64 bits
    int m_qtMajor = 0;
};
