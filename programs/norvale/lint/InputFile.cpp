#include "lint/InputFile.h"

#include "install/cPackage.h"
#include "plugins/ManifestRules.h"
#include "plugins/cLibraryFile.h"
#include "plugins/cManifest.h"
#include "report/cFindings.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

namespace {

constexpr quint32 LargestManifest = 16 * 1024 * 1024;

const QLatin1String LibraryEndings[] = {QLatin1String(".so"), QLatin1String(".dll")};

void note(cQtMajors& majors, const QString& ending, const cLibraryFile& library)
{
    if (library.qtMajor() != 0)
        majors.insert(ending, library.qtMajor());
}

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
        if (record.name == ManifestRules::FileName && record.isListed())
            return record.uncompressedSize <= LargestManifest && package.readContent(record, &xml, &error)
                       ? xml
                       : QByteArray();
    }
    return QByteArray();
}

cQtMajors packageQtMajors(const cPackage& package, const cManifest& manifest)
{
    cQtMajors majors;
    for (const QLatin1String& ending : LibraryEndings) {
        for (const cZipRecord& record : package.records()) {
            QByteArray bytes;
            QString error;
            if (record.isListed() && QLatin1Char('/') + record.name == manifest.libraryPath + ending &&
                package.readContent(record, &bytes, &error))
                note(majors, ending, cLibraryFile::ofBytes(bytes, record.name));
        }
    }
    return majors;
}

cQtMajors folderQtMajors(const QString& folder, const cManifest& manifest)
{
    cQtMajors majors;
    for (const QLatin1String& ending : LibraryEndings)
        note(majors, ending, cLibraryFile(folder + manifest.libraryPath + ending));
    return majors;
}
