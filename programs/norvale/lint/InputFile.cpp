#include "lint/InputFile.h"

#include "install/cPackage.h"
#include "report/cFindings.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

namespace {

constexpr quint32 LargestManifest = 16 * 1024 * 1024;

} // namespace

bool readInputFile(const QString& path, qint64 limit, QByteArray* bytes, cFindings& findings)
{
    const QFileInfo info(path);
    QFile file(path);
    QString reason;
    if (!info.exists())
        reason = QStringLiteral("there is no such file");
    else if (!info.isFile())
        reason = QStringLiteral("this is no file");
    else if (info.size() > limit)
        reason = QStringLiteral("more than %1 bytes are not read").arg(limit);
    else if (!file.open(QIODevice::ReadOnly))
        reason = file.errorString();
    if (!reason.isEmpty())
        return findings.add(Rule::FileUnreadable, path, reason), false;
    *bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return findings.add(Rule::FileUnreadable, path, file.errorString()), false;
    return true;
}

QByteArray sha1Of(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1);
}

bool readKnownFile(const QString& path, const QByteArray& sha1, QByteArray* bytes)
{
    cFindings unread;
    return readInputFile(path, LargestFile, bytes, unread) && sha1Of(*bytes) == sha1;
}

QByteArray packageManifest(const cPackage& package)
{
    for (const cZipRecord& record : package.records()) {
        QByteArray xml;
        QString error;
        if (record.name == QLatin1String("Manifest.xml") && record.isListed())
            return record.uncompressedSize <= LargestManifest && package.readContent(record, &xml, &error)
                       ? xml
                       : QByteArray();
    }
    return QByteArray();
}
