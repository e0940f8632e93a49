#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QFile>
#include <QtCore/QString>

#ifdef Q_OS_WIN

/// A file that is open as long as the object lives, and read at places.
class cOpenFile
{
public:
    explicit cOpenFile(const QString& path) : m_file(path) { m_file.open(QIODevice::ReadOnly | QIODevice::Unbuffered); }

    bool isOpen() const { return m_file.isOpen(); }
    quint64 size() const { return quint64(m_file.size()); }

    /// @return what there is at @p offset, @p size bytes at most; empty when the system refuses.
    QByteArray read(quint64 offset, int size) { return m_file.seek(qint64(offset)) ? m_file.read(size) : QByteArray(); }

private:
    QFile m_file;
};

#else

/**
 * The same by the system's own calls. A start reads a little of each library: QFile would ask twice what the file is,
 * and move in it before it reads, which takes as long as the reading.
 */
class cOpenFile
{
public:
    explicit cOpenFile(const QString& path);
    ~cOpenFile();
    cOpenFile(const cOpenFile&) = delete;
    cOpenFile& operator=(const cOpenFile&) = delete;

    bool isOpen() const { return m_descriptor >= 0; }
    quint64 size() const;
    QByteArray read(quint64 offset, int size) const;

private:
    int m_descriptor;
};

#endif
