#include "lint/InputFile.h"

#include "report/cFindings.h"
#include "zip/cInflater.h"

#include <Norvale/cZipArchive.h>
#include <Norvale/cZipEntry.h>

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

namespace {

constexpr int LargestManifest = 16 * 1024 * 1024;

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

QByteArray packageManifest(const cZipArchive& package)
{
    const QSharedPointer<cZipEntry> entry = package.entry(QStringLiteral("Manifest.xml"));
    if (!entry || entry->compressedSize() < 0 || entry->compressedSize() > LargestManifest)
        return QByteArray();
    const QByteArray packed = entry->compressedContent();
    QByteArray bytes;
    if (cInflater().inflate(packed, LargestManifest, {}, &bytes, nullptr))
        return bytes;
    const bool isStored = packed.size() == entry->uncompressedSize();
    return isStored ? packed : QByteArray();
}
