#include "config/cRuntimeFetch.h"

#include "config/cDownloader.h"
#include "config/cFeatureCatalogue.h"
#include "core/System.h"
#include "version/SafeName.h"

#include <Norvale/Corvane.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <filesystem>

namespace {

/// What the library itself keeps in the data folder.
bool isTaken(const QString& name)
{
    for (const Corvane::VelmFolderOrFile own : {Corvane::SettingsFile, Corvane::DropboxFolder}) {
        if (name.compare(QFileInfo(Corvane::velmiraFolderOrFile(own)).fileName(), Qt::CaseInsensitive) == 0)
            return true;
    }
    return false;
}

std::filesystem::path nativePath(const QString& path)
{
    return std::filesystem::path(path.toStdU16String());
}

} // namespace

cRuntimeFetch::cRuntimeFetch(const cRuntimeInfo& runtime, cDownloader& downloader)
    : m_runtime(runtime), m_downloader(downloader)
{
}

bool cRuntimeFetch::run()
{
    if (!hasSafeName())
        return fail(QStringLiteral("its name cannot be that of a file in the data folder"));
    if (m_runtime.hash().isEmpty())
        return fail(QStringLiteral("the repository gives no hash for it"));
    m_path = QDir(Corvane::velmiraFolderOrFile(Corvane::DataFolder)).absoluteFilePath(m_runtime.name());
    return isThere() || download();
}

/// The file is closed again before another one takes its place: some systems refuse that while it is open.
bool cRuntimeFetch::isThere() const
{
    QFile file(m_path);
    return file.open(QIODevice::ReadOnly) && isWhole(file);
}

bool cRuntimeFetch::hasSafeName()
{
    return isSafeFileName(m_runtime.name()) && !isTaken(m_runtime.name());
}

/// The downloader's digest is not asked: bytes that were unread when a transfer ended are in it twice.
bool cRuntimeFetch::isWhole(QFileDevice& file) const
{
    QCryptographicHash digest(QCryptographicHash::Sha1);
    return file.seek(0) && digest.addData(&file) && digest.result() == m_runtime.hash();
}

bool cRuntimeFetch::download()
{
    QFile part(m_path + QStringLiteral(".part"));
    if (!QDir().mkpath(QFileInfo(m_path).absolutePath()) || !part.open(QIODevice::ReadWrite | QIODevice::Truncate))
        return fail(QStringLiteral("%1 cannot be written: %2").arg(part.fileName(), part.errorString()));
    if (transferTo(part) && moveIntoPlace(part.fileName()))
        return true;
    part.remove();
    return false;
}

bool cRuntimeFetch::transferTo(QFile& file)
{
    m_downloader.setSizeLimit(SizeLimit);
    const QString source = m_runtime.source().toDisplayString();
    if (!m_downloader.download(m_runtime.source(), &file))
        return fail(QStringLiteral("from %1: %2").arg(source, m_downloader.errorString()));
    if (!isWhole(file))
        return fail(QStringLiteral("from %1: does not match its hash").arg(source));
    // It is a program, wherever it came from.
    const QFileDevice::Permissions run = QFileDevice::ExeOwner | QFileDevice::ExeUser;
    if (!file.setPermissions(file.permissions() | run) || !flushFile(file))
        return fail(QStringLiteral("%1 cannot be written: %2").arg(file.fileName(), file.errorString()));
    file.close();
    return true;
}

bool cRuntimeFetch::moveIntoPlace(const QString& part)
{
    std::error_code failure;
    waitUntilReplaceable(m_path);
    std::filesystem::rename(nativePath(part), nativePath(m_path), failure);
    if (failure)
        return fail(
            QStringLiteral("%1 cannot be written: %2").arg(m_path, QString::fromLocal8Bit(failure.message().c_str())));
    flushFolder(QFileInfo(m_path).absolutePath());
    return true;
}

bool cRuntimeFetch::fail(const QString& reason)
{
    m_errorString = reason;
    return false;
}
