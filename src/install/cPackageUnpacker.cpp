#include "install/cPackageUnpacker.h"

#include "core/System.h"
#include "install/cPackage.h"

#include <QtCore/QByteArray>
#include <QtCore/QFile>

// The manifest comes last, so that a folder that has one is whole, whatever cut the unpacking off.
bool cPackageUnpacker::unpack(const cPackage& package)
{
    cZipRecord manifest;
    for (const cZipRecord& record : package.records()) {
        if (record.name == QLatin1String("Manifest.xml"))
            manifest = record;
        else if (record.isListed() && !unpack(package, record))
            return false;
    }
    return unpack(package, manifest);
}

bool cPackageUnpacker::unpack(const cPackage& package, const cZipRecord& record)
{
    constexpr quint32 executableByAnyone = 0111;
    const QString path = m_folder.absoluteFilePath(record.name);
    QByteArray content;
    QString error;
    if (!package.readContent(record, &content, &error))
        return fail(path, error);
    return makeFolderOf(path) && write(path, content, record.unixMode() & executableByAnyone);
}

bool cPackageUnpacker::makeFolderOf(const QString& path)
{
    const QString parent = path.left(path.lastIndexOf(QLatin1Char('/')));
    if (m_madeFolders.contains(parent))
        return true;
    if (!m_folder.mkpath(parent))
        return fail(parent, QStringLiteral("the folder cannot be made"));
    m_madeFolders.insert(parent);
    return true;
}

bool cPackageUnpacker::write(const QString& path, const QByteArray& content, bool isExecutable)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered) ||
        file.write(content) != content.size())
        return fail(path, file.errorString());
    const QFile::Permissions execution = QFile::ExeOwner | QFile::ExeUser | QFile::ExeGroup | QFile::ExeOther;
    if (isExecutable && !file.setPermissions(file.permissions() | execution))
        return fail(path, file.errorString());
    if (!flushNewFile(file))
        return fail(path, QStringLiteral("it cannot be flushed to the disk"));
    return true;
}

bool cPackageUnpacker::fail(const QString& path, const QString& reason)
{
    m_errorString = QStringLiteral("%1 cannot be written: %2").arg(path, reason);
    return false;
}
