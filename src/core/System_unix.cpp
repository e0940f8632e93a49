#include "core/DurableFile.h"

#include <QtCore/QFile>
#include <QtCore/QFileDevice>
#include <QtCore/QString>

#include <fcntl.h>
#include <unistd.h>

void waitUntilReplaceable(const QString&) {}

bool flushFile(QFileDevice& file)
{
    return file.flush() && ::fsync(file.handle()) == 0;
}

bool flushFolder(const QString& path)
{
    const int folder = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (folder < 0)
        return false;
    const bool isFlushed = ::fsync(folder) == 0;
    ::close(folder);
    return isFlushed;
}
