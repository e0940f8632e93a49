#include "HostSystem.h"

#include <QtCore/QDir>
#include <QtCore/QFile>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <cxxabi.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// The folder itself, no link to it, must be the user's own, and closed to everybody else.
bool belongsToUserAlone(const QString& folder)
{
    struct stat info;
    return ::lstat(QFile::encodeName(folder).constData(), &info) == 0 && S_ISDIR(info.st_mode) &&
           info.st_uid == ::getuid() && (info.st_mode & (S_IRWXG | S_IRWXO)) == 0;
}

} // namespace

QString HostSystem::userFolder(QString* error)
{
    const QString runtime = QFile::decodeName(qgetenv("XDG_RUNTIME_DIR"));
    if (QDir::isAbsolutePath(runtime) && belongsToUserAlone(runtime))
        return runtime;
    const QString folder = QDir(QDir::tempPath()).absoluteFilePath(QStringLiteral("vcore-%1").arg(::getuid()));
    if (::mkdir(QFile::encodeName(folder).constData(), S_IRWXU) != 0 && errno != EEXIST) {
        const QString cause = QString::fromLocal8Bit(std::strerror(errno));
        *error = QStringLiteral("cannot make the folder %1: %2").arg(folder, cause);
        return QString();
    }
    if (belongsToUserAlone(folder))
        return folder;
    *error = QStringLiteral("the folder %1 is not the user's own, or open to others").arg(folder);
    return QString();
}

QString HostSystem::socketName(const QString& folder, const QString& baseName)
{
    return QDir(folder).absoluteFilePath(baseName + QStringLiteral(".socket"));
}

QString HostSystem::userPart()
{
    return QString();
}

QString HostSystem::comparable(const QString& path)
{
    return path;
}

// What has been sent can be read after the end.
void HostSystem::waitUntilRead(const QLocalSocket&, int) {}

QString HostSystem::demangled(const QString& symbol)
{
    char* const name = abi::__cxa_demangle(symbol.toLatin1().constData(), nullptr, nullptr, nullptr);
    const QString text = name ? QString::fromLatin1(name) : symbol;
    std::free(name);
    return text;
}

void HostSystem::openNoWindowAtCrash() {}
