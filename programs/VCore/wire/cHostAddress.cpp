#include "wire/cHostAddress.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>

namespace {

// One installation reached by two spellings of its path must be one installation.
QString canonical(const QString& folder)
{
    const QString path = QDir(folder).canonicalPath();
    return path.isEmpty() ? QDir::cleanPath(QDir(folder).absolutePath()) : path;
}

QString shortHash(const QString& text)
{
    // 16 digits keep the path below the about 100 bytes that a socket's path may have.
    return QString::fromLatin1(QCryptographicHash::hash(text.toUtf8(), QCryptographicHash::Sha1).toHex().left(16));
}

} // namespace

cHostAddress cHostAddress::ofInstallation(const QString& installFolder)
{
    cHostAddress address;
    const QString folder = userFolder(&address.m_error);
    if (!address.isValid())
        return address;
    const QString name =
        QStringLiteral("vcore-") + shortHash(comparable(canonical(installFolder)) + QLatin1Char('\n') + userPart());
    address.m_socketName = nameFor(folder, name);
    address.m_lockPath = QDir(folder).absoluteFilePath(name + QStringLiteral(".lock"));
    address.m_updateLockPath = QDir(folder).absoluteFilePath(name + QStringLiteral(".update.lock"));
    return address;
}
