#include "install/EmptyFolder.h"

#include <QtCore/QDir>

bool removeEmptyFolder(const QString& path)
{
    return QDir().rmdir(path);
}
