#include "config/cRuntimeFetch.h"

#include "config/cDownloader.h"
#include "config/cFeatureCatalogue.h"
#include "config/cTrustedSite.h"
#include "core/Files.h"
#include "trust/Cryptography.h"
#include "version/cPluginId.h"

#include <Norvale/Corvane.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

namespace {

/// The most bytes of a setup program, whose size no description tells.
constexpr qint64 SizeLimit = qint64(4) * 1024 * 1024 * 1024;

/// The bytes of it that are read at a time.
constexpr qint64 ReadStep = 1024 * 1024;

/// Whether a file of this name can lie in the data folder, beside what the library itself keeps there.
bool canLieInDataFolder(const QString& name)
{
    const auto isTaken = [&](Corvane::VelmFolderOrFile own) {
        return name.compare(QFileInfo(Corvane::velmiraFolderOrFile(own)).fileName(), Qt::CaseInsensitive) == 0;
    };
    return isSafePackageName(name) && !isTaken(Corvane::SettingsFile) && !isTaken(Corvane::DropboxFolder);
}

} // namespace

cRuntimeFetch::cRuntimeFetch(const cRuntimeInfo& runtime, cDownloader& downloader, cTrustedSite* site)
    : m_runtime(runtime), m_downloader(downloader), m_site(site)
{
}

bool cRuntimeFetch::run()
{
    if (!canLieInDataFolder(m_runtime.name()))
        return fail(QStringLiteral("its name cannot be that of a file in the data folder"));
    if (!m_runtime.hashFault().isEmpty())
        return fail(m_runtime.hashFault());
    if (m_runtime.hash().isEmpty())
        return fail(QStringLiteral("the repository gives no hash for it"));
    m_path = QDir(Corvane::velmiraFolderOrFile(Corvane::DataFolder)).absoluteFilePath(m_runtime.name());
    return isThere() || download();
}

/// The file is closed again before another one takes its place: some systems refuse that while it is open.
bool cRuntimeFetch::isThere() const
{
    QFile file(m_path);
    return file.open(QIODevice::ReadOnly) && faultOf(file).isEmpty();
}

/// The downloader's digest is not asked: bytes that were unread when a transfer ended are in it twice.
QString cRuntimeFetch::faultOf(QFileDevice& file) const
{
    QCryptographicHash sha1(QCryptographicHash::Sha1);
    Cryptography::cDigest sha256(Cryptography::cDigest::Sha256);
    file.seek(0);
    for (QByteArray bytes = file.read(ReadStep); !bytes.isEmpty(); bytes = file.read(ReadStep)) {
        sha1.addData(bytes);
        if (m_site)
            sha256.add(bytes);
    }
    if (sha1.result() != m_runtime.hash())
        return QStringLiteral("does not match its hash");
    return m_site ? m_site->refusal(sha256.result(), file.size(), m_runtime.name()) : QString();
}

bool cRuntimeFetch::download()
{
    QFile part(m_path + QStringLiteral(".part"));
    QString error;
    if (!makeFolder(QFileInfo(m_path).absolutePath(), &error))
        return fail(error);
    if (!part.open(QIODevice::ReadWrite | QIODevice::Truncate))
        return failToWrite(part.fileName(), causeOf(part));
    if (transferTo(part) && moveIntoPlace(part))
        return true;
    part.remove();
    return false;
}

bool cRuntimeFetch::transferTo(QFile& part)
{
    const QString source = m_runtime.source().toDisplayString();
    const qint64 limit = m_site ? m_site->limitOf(m_runtime.source(), m_runtime.name(), m_downloader) : SizeLimit;
    if (limit < 0)
        return fail(cInstallationTrust::notNamed());
    m_downloader.setSizeLimit(limit);
    if (!m_downloader.download(m_runtime.source(), &part))
        return fail(QStringLiteral("from %1: %2").arg(source, m_downloader.errorString()));
    const QString fault = faultOf(part);
    return fault.isEmpty() || fail(QStringLiteral("from %1: %2").arg(source, fault));
}

bool cRuntimeFetch::moveIntoPlace(QFile& part)
{
    // It is a program, wherever it came from.
    const QFileDevice::Permissions run = QFileDevice::ExeOwner | QFileDevice::ExeUser;
    if (!part.setPermissions(part.permissions() | run) || !flushFile(part))
        return failToWrite(part.fileName(), causeOf(part));
    part.close();
    QString error;
    if (!moveOver(part.fileName(), m_path, &error))
        return fail(error);
    flushFolder(QFileInfo(m_path).absolutePath());
    return true;
}

bool cRuntimeFetch::failToWrite(const QString& path, const QString& reason)
{
    return fail(QStringLiteral("%1 cannot be written: %2").arg(path, reason));
}

bool cRuntimeFetch::fail(const QString& reason)
{
    m_errorString = reason;
    return false;
}
