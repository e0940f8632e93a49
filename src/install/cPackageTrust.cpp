#include "install/cPackageTrust.h"

#include "config/cTrustDownload.h"
#include "trust/Cryptography.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QUrl>

namespace {

/// How many folders above the packages of a site its metadata lie at most.
constexpr int MostStepsUp = 2;

/// The folder of metadata that belongs to the description or package at @p path; empty when there is none.
QString metadataFor(const QString& path)
{
    QDir folder = QFileInfo(path).absoluteDir();
    for (int step = 0; step <= MostStepsUp; ++step) {
        const QString metadata = folder.absoluteFilePath(QStringLiteral("tuf"));
        if (QFileInfo(metadata).isDir())
            return metadata;
        if (!folder.cdUp())
            break;
    }
    return QString();
}

} // namespace

cPackageTrust::cPackageTrust(const QString& path, bool isOverridden, const cLog& log)
    : m_path(path), m_isOverridden(isOverridden)
{
    if (isOverridden && m_trust.isPinned())
        log.warning().noquote() << path << "is installed without regard to the pinned root of trust, as was asked for"
                                << Qt::endl;
}

QString cPackageTrust::refusal(const QByteArray& bytes, const QString& fileName)
{
    if (m_isOverridden || !m_trust.isPinned())
        return QString();
    if (!m_fault)
        m_fault = m_trust.open() ? QString() : m_trust.errorString();
    if (!m_fault->isEmpty())
        return QStringLiteral("it cannot be verified: ") + *m_fault;
    const QByteArray sha256 = Cryptography::sha256(bytes);
    QString reason = m_trust.refusal(sha256, bytes.size(), fileName);
    if (reason.isEmpty())
        return reason;
    // What the medium has brought along joins the set, once.
    if (!m_mediumFault)
        m_mediumFault = mediumFault();
    reason = m_trust.refusal(sha256, bytes.size(), fileName);
    return reason.isEmpty() || m_mediumFault->isEmpty() ? reason
                                                        : QStringLiteral("%1 (%2)").arg(reason, *m_mediumFault);
}

/// Takes the metadata of the medium into the set. @return why that cannot be; empty when it is done, or it has none.
QString cPackageTrust::mediumFault()
{
    const QString folder = metadataFor(m_path);
    if (folder.isEmpty())
        return QString();
    cDownloader downloader;
    cTrustDownload source(QUrl::fromLocalFile(folder + QLatin1Char('/')), downloader);
    return m_trust.refresh(source) ? QString() : QStringLiteral("%1: %2").arg(folder, m_trust.errorString());
}
