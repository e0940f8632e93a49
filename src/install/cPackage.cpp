#include "install/cPackage.h"

#include "core/Files.h"
#include "plugins/ManifestRules.h"
#include "version/Shown.h"
#include "zip/ZipRecords.h"

#include <QtCore/QBuffer>
#include <QtCore/QCryptographicHash>
#include <QtCore/QDateTime>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

namespace {

bool failWith(QString* error, const QString& reason)
{
    *error = reason;
    return false;
}

QByteArray sha256Of(const QByteArray& content)
{
    return QCryptographicHash::hash(content, QCryptographicHash::Sha256);
}

/// What keeps the local header from belonging to the record; empty when it does.
QString mismatch(const cZipRecord& record, const cZipLocalHeader& local)
{
    if (!local.hasSignature())
        return QStringLiteral("its local header has no signature");
    if (local.name() != record.name)
        return QStringLiteral("its local header names \"%1\"").arg(local.name());
    if (local.method() != record.method)
        return QStringLiteral("its local header has another compression method");
    const bool isBehind = local.flags() & cZipRecord::HasDataDescriptor;
    if (local.compressedSize() != record.compressedSize && !(isBehind && local.compressedSize() == 0))
        return QStringLiteral("its local header has another compressed size");
    return QString();
}

/// The bytes of the data descriptor at @p bytes that belongs to the record; 0 when there is none.
int descriptorSize(const cZipRecord& record, const uchar* bytes, qint64 size)
{
    if (size < cZipDescriptor::LeastSize)
        return 0;
    const cZipDescriptor descriptor(bytes, size);
    const bool agrees = descriptor.crc() == record.crc && descriptor.compressedSize() == record.compressedSize &&
                        descriptor.uncompressedSize() == record.uncompressedSize;
    return agrees ? descriptor.size() : 0;
}

} // namespace

bool cPackage::readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return fail(file.errorString());
    m_bytes = file.readAll();
    return file.error() == QFile::NoError || fail(file.errorString());
}

bool cPackage::readDirectory()
{
    m_records.clear();
    QBuffer buffer(&m_bytes);
    cZipDirectory directory;
    const bool isRead = buffer.open(QIODevice::ReadOnly) && directory.read(&buffer);
    if (!isRead || !directory.packageFault().isEmpty())
        return fail(directory.packageFault().isEmpty() ? directory.errorString() : directory.packageFault());
    m_directoryOffset = directory.directoryOffset();
    m_records.reserve(directory.count());
    for (int i = 0; i < directory.count(); ++i)
        m_records.append(directory.record(i));
    return true;
}

bool cPackage::locate(const cZipRecord& record, Span* span, QString* error) const
{
    span->begin = record.localHeaderOffset;
    if (span->begin + cZipLocalHeader::Size > m_directoryOffset || m_directoryOffset > m_bytes.size())
        return failWith(error, QStringLiteral("its local header does not lie before the directory"));
    const uchar* const bytes = reinterpret_cast<const uchar*>(m_bytes.constData());
    const cZipLocalHeader local(bytes + span->begin);
    span->data = span->begin + local.dataOffset();
    span->end = span->data + record.compressedSize;
    if (span->end > m_directoryOffset)
        return failWith(error, QStringLiteral("its data do not lie before the directory"));
    *error = mismatch(record, local);
    if (error->isEmpty() && local.flags() & cZipRecord::HasDataDescriptor) {
        const int size = descriptorSize(record, bytes + span->end, m_directoryOffset - span->end);
        span->end += size;
        if (size == 0)
            *error = QStringLiteral("the sizes behind its data (data descriptor) are not those of its record");
    }
    return error->isEmpty();
}

bool cPackage::readContent(const cZipRecord& record, QByteArray* content, QString* error) const
{
    Span span;
    if (!locate(record, &span, error))
        return false;
    // A view into the package; nothing is copied but what is stored.
    const QByteArray data = QByteArray::fromRawData(m_bytes.constData() + span.data, int(record.compressedSize));
    if (record.method == cZipHeader::Stored)
        *content = QByteArray(data.constData(), data.size());
    else if (!m_inflater.inflate(data, record.uncompressedSize, {record.uncompressedSize, record.crc}, content, error))
        return false;
    if (quint32(content->size()) == record.uncompressedSize)
        return true;
    return failWith(error, QStringLiteral("it has %1, where its record states %2")
                               .arg(counted(content->size(), "byte"))
                               .arg(record.uncompressedSize));
}

cFileRecord::Files cPackage::files() const
{
    cFileRecord::Files files;
    for (const cZipRecord& record : m_records) {
        QByteArray content;
        QString ignored;
        if (record.isListed() && readContent(record, &content, &ignored))
            files.insert(record.name, {content.size(), 0, sha256Of(content)});
    }
    return files;
}

bool cPackage::fail(const QString& reason)
{
    m_errorString = reason;
    return false;
}

// The manifest comes last, so that a folder that has one is whole, whatever cut the unpacking off.
bool cPackageUnpacker::unpack(const cPackage& package)
{
    cZipRecord manifest;
    for (const cZipRecord& record : package.records()) {
        if (record.name == ManifestRules::FileName)
            manifest = record;
        else if (record.isListed() && !unpack(package, record))
            return false;
    }
    return unpack(package, manifest);
}

bool cPackageUnpacker::unpack(const cPackage& package, const cZipRecord& record)
{
    constexpr quint32 ExecutableByAnyone = 0111; // the bits of a Unix mode
    const QString path = m_folder.absoluteFilePath(record.name);
    QByteArray content;
    QString error;
    if (!package.readContent(record, &content, &error))
        return fail(path, error);
    if (!makeFolderOf(path) || !write(path, content, record.unixMode() & ExecutableByAnyone))
        return false;
    note(record.name, content);
    return true;
}

bool cPackageUnpacker::makeFolderOf(const QString& path)
{
    const QString parent = path.left(path.lastIndexOf(QLatin1Char('/')));
    if (m_madeFolders.contains(parent))
        return true;
    if (!makeFolder(m_folder.absoluteFilePath(parent), &m_errorString))
        return false;
    m_madeFolders.insert(parent);
    return true;
}

bool cPackageUnpacker::write(const QString& path, const QByteArray& content, bool isExecutable)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Unbuffered) ||
        file.write(content) != content.size())
        return fail(path, causeOf(file));
    const QFile::Permissions execution = QFile::ExeOwner | QFile::ExeUser | QFile::ExeGroup | QFile::ExeOther;
    if (isExecutable && !file.setPermissions(file.permissions() | execution))
        return fail(path, causeOf(file));
    return flushNewFile(file) || fail(path, causeOf(file));
}

// The content is what was to be written, not what the disk has made of it; the time is known once the file is closed.
void cPackageUnpacker::note(const QString& name, const QByteArray& content)
{
    cRecordedFile& file = m_files[name];
    file.size = content.size();
    file.changed = QFileInfo(m_folder.absoluteFilePath(name)).lastModified().toMSecsSinceEpoch();
    file.sha256 = sha256Of(content);
}

bool cPackageUnpacker::fail(const QString& path, const QString& reason)
{
    m_errorString = QStringLiteral("%1 cannot be written: %2").arg(path, reason);
    return false;
}
