#include "plugins/cOpenFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

cOpenFile::cOpenFile(const QString& path)
    : m_descriptor(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC))
{
}

cOpenFile::~cOpenFile()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

quint64 cOpenFile::size() const
{
    struct stat status;
    return ::fstat(m_descriptor, &status) == 0 ? quint64(status.st_size) : 0;
}

QByteArray cOpenFile::read(quint64 offset, int size) const
{
    QByteArray bytes(size, Qt::Uninitialized);
    const ssize_t there = ::pread(m_descriptor, bytes.data(), size_t(size), off_t(offset));
    bytes.truncate(int(qMax<ssize_t>(there, 0)));
    return bytes;
}
