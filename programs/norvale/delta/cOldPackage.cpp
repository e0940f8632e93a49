#include "delta/cOldPackage.h"

#include "delta/cRebuild.h"
#include "install/cPackage.h"
#include "version/Shown.h"

#include <QtCore/QBuffer>
#include <QtCore/QTemporaryFile>

bool cOldPackage::read(const QByteArray& bytes)
{
    cPackage package;
    package.setBytes(bytes);
    if (!package.readDirectory())
        return fail(package.errorString());
    qint64 total = 0;
    for (const cZipRecord& record : package.records())
        total += record.uncompressedSize;
    if (total > LargestContents) {
        return fail(
            QStringLiteral("it unpacks to %1, where %2 is the most").arg(counted(total, "byte")).arg(LargestContents));
    }
    for (const cZipRecord& record : package.records()) {
        if (record.isListed() && !package.readContent(record, &m_files[record.name], &m_errorString))
            return false;
    }
    return true;
}

QByteArray cOldPackage::contents() const
{
    QByteArray contents;
    for (const QByteArray& content : m_files)
        contents += content;
    return contents;
}

bool cOldPackage::rebuild(const QByteArray& patch, qint64 size, QByteArray* package)
{
    QTemporaryFile file;
    if (!file.open() || file.write(patch) != patch.size() || !file.flush())
        return fail(file.errorString());
    const auto open = [this](const QString& path) -> std::unique_ptr<QIODevice> {
        const auto content = m_files.constFind(path);
        if (content == m_files.constEnd())
            return nullptr;
        auto buffer = std::make_unique<QBuffer>();
        buffer->setData(*content);
        (void)buffer->open(QIODevice::ReadOnly);
        return buffer;
    };
    QBuffer made(package);
    (void)made.open(QIODevice::WriteOnly);
    cRebuild rebuild(file.fileName(), open, size);
    return rebuild.run(made) || fail(rebuild.errorString());
}

bool cOldPackage::fail(const QString& reason)
{
    m_errorString = reason;
    return false;
}
