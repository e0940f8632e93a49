#include "wire/cHostAddress.h"

#include <QtCore/QDir>

QString cHostAddress::userFolder(QString*)
{
    return QDir::tempPath(); // the temporary folder is the user's own here
}

QString cHostAddress::nameFor(const QString&, const QString& baseName)
{
    return baseName; // pipes have no folders
}

QString cHostAddress::comparable(const QString& path)
{
    return path.toLower(); // the same folder in whatever case it is written
}

QString cHostAddress::userPart()
{
    return QDir::homePath();
}
