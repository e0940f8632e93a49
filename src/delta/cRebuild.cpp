#include "delta/cRebuild.h"

#include "delta/cContents.h"
#include "delta/cOldFiles.h"
#include "delta/cPartDeflater.h"
#include "delta/cPatchReader.h"
#include "disk/WholeFiles.h"
#include "version/Deflate.h"
#include "version/Numbers.h"
#include "version/cPluginId.h"

#include <QtCore/QFileInfo>
#include <QtCore/QSet>

#include <limits>
#include <utility>
#include <vector>

namespace {

constexpr qint64 RebuildBuffer = 256 << 10;
constexpr qint64 MostOldFiles = 65535; // as many entries as a package can have
constexpr qint64 MostParts = 262144;
constexpr qint64 AnyNumber = std::numeric_limits<qint64>::max();

struct Part
{
    qint64 size = 0; // of its content
    bool isDeflated = false;
    cPartDeflater::Parameters parameters;
};

/// One run of a rebuild. Of what failed the errorString of the object that met it is taken.
class cRun
{
public:
    cRun(const cRebuild::Open& old, qint64 size, QIODevice& package, const std::atomic<bool>& isCancelled)
        : m_old(old, isCancelled)
        , m_size(size)
        , m_package(package)
        , m_isCancelled(isCancelled)
        , m_buffer(new char[RebuildBuffer])
    {
    }

    bool run(const QString& patchFile);

    const QString& errorString() const { return m_errorString; }

private:
    bool readOldFiles();
    bool readParts();
    bool readPart(Part& part);
    bool make(const Part& part, cContents& contents);
    bool write(const char* bytes, qint64 count);
    bool damaged(const QString& how);
    bool fail(const QString& reason);

    cPatchReader m_patch;
    cOldFiles m_old;
    cPartDeflater m_deflater;
    std::vector<Part> m_parts;
    qint64 m_contentSize = 0;
    const qint64 m_size;
    qint64 m_written = 0;
    QIODevice& m_package;
    const std::atomic<bool>& m_isCancelled;
    const std::unique_ptr<char[]> m_buffer;
    QString m_errorString;
};

bool cRun::run(const QString& patchFile)
{
    qint64 size = 0;
    if (!m_patch.open(patchFile) || !m_patch.readNumber("the size of the package", AnyNumber, size))
        return fail(m_patch.errorString());
    if (size != m_size)
        return damaged(QStringLiteral("it makes a package of %1 bytes, where %2 are stated").arg(size).arg(m_size));
    if (!readOldFiles() || !readParts())
        return false;
    cContents contents(m_patch, m_old, m_contentSize, m_isCancelled);
    for (const Part& part : m_parts) {
        if (!make(part, contents))
            return false;
    }
    if (m_written != m_size)
        return damaged(QStringLiteral("it makes %1 bytes, where %2 are stated").arg(m_written).arg(m_size));
    return m_patch.isAtEnd() || fail(m_patch.errorString());
}

bool cRun::readOldFiles()
{
    qint64 count = 0;
    if (!m_patch.readNumber("the count of old files", MostOldFiles, count))
        return fail(m_patch.errorString());
    QSet<QString> paths; // of files that are there: no more can be listed than the old version has
    for (qint64 i = 0; i < count; ++i) {
        QString path;
        qint64 size = 0;
        QByteArray sha1;
        if (!m_patch.readText(path) || !m_patch.readNumber("the size of an old file", AnyNumber, size) ||
            !m_patch.readBytes(Sha1Size, sha1))
            return fail(m_patch.errorString());
        if (!cOldFiles::isInside(path))
            return damaged(QStringLiteral("\"%1\" cannot be a file of a plugin").arg(path));
        if (paths.contains(caselessFileName(path)))
            return damaged(QStringLiteral("it names the old file \"%1\" twice").arg(path));
        paths.insert(caselessFileName(path));
        if (!m_old.add(path, size, sha1))
            return fail(m_old.errorString());
    }
    return true;
}

bool cRun::readParts()
{
    qint64 count = 0;
    if (!m_patch.readNumber("the count of parts", MostParts, count))
        return fail(m_patch.errorString());
    for (qint64 i = 0; i < count; ++i) {
        Part part;
        if (!readPart(part))
            return fail(m_patch.errorString());
        m_contentSize += part.size;
        m_parts.push_back(part);
    }
    return true;
}

bool cRun::readPart(Part& part)
{
    qint64 kind = 0;
    if (!m_patch.readNumber("the kind of a part", 1, kind))
        return false;
    part.isDeflated = kind == 1;
    if (part.isDeflated) {
        qint64 level = 0;
        qint64 memoryLevel = 0;
        qint64 strategy = 0;
        if (!m_patch.readNumber("the level of a part", 9, level) ||
            !m_patch.readNumber("the memory level of a part", 9, memoryLevel) ||
            !m_patch.readNumber("the strategy of a part", 4, strategy))
            return false;
        part.parameters = {int(level), int(memoryLevel), int(strategy)};
        if (!part.parameters.areKnown())
            return m_patch.damaged(QStringLiteral("a part is deflated in a way that zlib does not know"));
    }
    const qint64 most = m_size > AnyNumber / MostPerByte ? AnyNumber : m_size * MostPerByte;
    return m_patch.readNumber("the size of a part", most - m_contentSize, part.size);
}

bool cRun::make(const Part& part, cContents& contents)
{
    const auto take = [this](const char* bytes, qint64 count) { return write(bytes, count); };
    if (part.isDeflated && !m_deflater.begin(part.parameters))
        return fail(QStringLiteral("there is no memory to deflate the package"));
    for (qint64 left = part.size; left > 0;) {
        const qint64 size = qMin(left, RebuildBuffer);
        if (!contents.read(m_buffer.get(), size))
            return fail(contents.errorString());
        if (!(part.isDeflated ? m_deflater.add(m_buffer.get(), size, take) : write(m_buffer.get(), size)))
            return false;
        left -= size;
    }
    return !part.isDeflated || m_deflater.end(take);
}

bool cRun::write(const char* bytes, qint64 count)
{
    if (count > m_size - m_written)
        return damaged(QStringLiteral("it makes more than the stated %1 bytes").arg(m_size));
    if (m_package.write(bytes, count) != count) {
        const auto* const file = qobject_cast<QFileDevice*>(&m_package);
        return fail(
            QStringLiteral("the package cannot be written: %1").arg(file ? causeOf(*file) : m_package.errorString()));
    }
    m_written += count;
    return true;
}

bool cRun::damaged(const QString& how)
{
    m_patch.damaged(how);
    return fail(m_patch.errorString());
}

bool cRun::fail(const QString& reason)
{
    m_errorString = m_isCancelled ? QStringLiteral("it was cancelled") : reason;
    return false;
}

} // namespace

cRebuild::Open cRebuild::filesIn(const QString& folder)
{
    return [folder](const QString& path) -> std::unique_ptr<QIODevice> {
        QString way = folder;
        for (const QString& name : path.split(QLatin1Char('/'))) {
            way += QLatin1Char('/') + name;
            const QFileInfo entry(way);
            if (!isSafeFileName(name) || entry.isSymLink() || entry.isJunction())
                return nullptr;
        }
        auto file = std::make_unique<QFile>(way);
        if (!QFileInfo(way).isFile() || !file->open(QFile::ReadOnly | QFile::Unbuffered))
            return nullptr;
        return file;
    };
}

cRebuild::cRebuild(const QString& patchFile, Open old, qint64 size)
    : m_patchFile(patchFile), m_old(std::move(old)), m_size(size)
{
}

bool cRebuild::run(QIODevice& package)
{
    cRun run(m_old, m_size, package, m_isCancelled);
    const bool isMade = run.run(m_patchFile);
    m_errorString = run.errorString();
    return isMade;
}
