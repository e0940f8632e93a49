#include "delta/cDeltaMaker.h"

#include "delta/cDifference.h"
#include "delta/cPatchWriter.h"
#include "delta/cRebuild.h"
#include "delta/cSuffixArray.h"
#include "install/cPackage.h"
#include "version/Shown.h"

#include <QtCore/QBuffer>
#include <QtCore/QMap>
#include <QtCore/QTemporaryFile>

/// What an installation has unpacked of a package, in one piece.
class cDeltaMaker::cOldFiles
{
public:
    [[nodiscard]] bool read(const QByteArray& bytes, QString* error)
    {
        cPackage package;
        package.setBytes(bytes);
        if (!package.readDirectory()) {
            *error = package.errorString();
            return false;
        }
        qint64 total = 0;
        for (const cZipRecord& record : package.records())
            total += record.uncompressedSize;
        if (total > LargestContents) {
            *error = QStringLiteral("it unpacks to %1, and a patch is made of at most %2")
                         .arg(counted(total, "byte"))
                         .arg(LargestContents);
            return false;
        }
        for (const cZipRecord& record : package.records()) {
            if (record.isListed() && !package.readContent(record, &m_files[record.name], error))
                return false;
        }
        return true;
    }

    const QMap<QString, QByteArray>& files() const { return m_files; }

    QByteArray contents() const
    {
        QByteArray contents;
        for (const QByteArray& content : m_files)
            contents += content;
        return contents;
    }

private:
    QMap<QString, QByteArray> m_files;
};

QString cDeltaMaker::unavailability()
{
    return cSuffixArray::isAvailable() ? QString()
                                       : QStringLiteral("this build of the program has no libdivsufsort, which making "
                                                        "patches takes");
}

bool cDeltaMaker::make(const QByteArray& older)
{
    m_patch.clear();
    cOldFiles files;
    QString error;
    if (!m_parts && !readPackage())
        return false;
    if (!files.read(older, &error))
        return fail(QStringLiteral("of the older package: ") + error);
    const QByteArray old = files.contents();
    cSuffixArray sorted;
    if (!sorted.sort(old))
        return fail(unavailability().isEmpty() ? QStringLiteral("there is not enough memory") : unavailability());
    cPatchWriter writer(m_package.size());
    writer.count(files.files().size());
    for (auto it = files.files().begin(); it != files.files().end(); ++it)
        writer.oldFile(it.key(), it.value());
    writer.parts(m_parts->parts());
    m_patch = writer.finish(cDifference(old, sorted, m_parts->contents()));
    if (qint64(m_patch.size()) * 100 > qint64(m_package.size()) * LargestShare) {
        return fail(QStringLiteral("it would be %1 % of the package, and at most %2 % are of use")
                        .arg(qint64(m_patch.size()) * 100 / m_package.size())
                        .arg(LargestShare));
    }
    return rebuilds(files);
}

bool cDeltaMaker::readPackage()
{
    cPackage package;
    package.setBytes(m_package);
    if (!package.readDirectory())
        return fail(package.errorString());
    m_parts = std::make_unique<cPackageParts>();
    if (!m_parts->read(package, LargestContents)) {
        m_parts.reset();
        return fail(QStringLiteral("it has more than %1 with what it unpacks to, and of more no patch is made")
                        .arg(counted(LargestContents, "byte")));
    }
    return true;
}

bool cDeltaMaker::rebuilds(const cOldFiles& files)
{
    QTemporaryFile file;
    if (!file.open() || file.write(m_patch) != m_patch.size() || !file.flush())
        return fail(QStringLiteral("it cannot be tried: ") + file.errorString());
    cRebuild rebuild(
        file.fileName(),
        [&](const QString& path) {
            const auto content = files.files().constFind(path);
            auto buffer = std::make_unique<QBuffer>();
            if (content == files.files().constEnd())
                return std::unique_ptr<QIODevice>();
            buffer->setData(*content);
            (void)buffer->open(QIODevice::ReadOnly);
            return std::unique_ptr<QIODevice>(std::move(buffer));
        },
        m_package.size());
    QBuffer rebuilt;
    (void)rebuilt.open(QIODevice::WriteOnly);
    if (!rebuild.run(rebuilt))
        return fail(QStringLiteral("it does not make the package again: ") + rebuild.errorString());
    return rebuilt.data() == m_package || fail(QStringLiteral("it makes another package"));
}

bool cDeltaMaker::fail(const QString& reason)
{
    m_patch.clear();
    m_errorString = reason;
    return false;
}
