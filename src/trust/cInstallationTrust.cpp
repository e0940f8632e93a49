#include "trust/cInstallationTrust.h"

#include "core/Settings.h"
#include "disk/WholeFiles.h"
#include "disk/WriteSettings.h"
#include "trust/Cryptography.h"
#include "version/Shown.h"

#include <Norvale/Corvane.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QRegularExpression>

namespace {

const QLatin1String RootKey(SettingsKey::TrustRoot);

QString folder()
{
    return Corvane::velmiraFolderOrFile(Corvane::CoreFolder) + QStringLiteral("/Trust");
}

/// Beside the trusted set: the root that it has grown from. Written last, so that a set that was begun halfway is begun
/// again. No role has a name without an ending.
QString originFile()
{
    return folder() + QStringLiteral("/origin");
}

/// Removes what killed runs have left beside the documents, which are written aside under six characters more. What is
/// younger may be being written.
void sweep()
{
    static const QRegularExpression rest(QStringLiteral("\\.[A-Za-z0-9]{6}\\z"));
    constexpr int Longest = 60; // seconds that a write takes at most
    const QDateTime past = QDateTime::currentDateTime().addSecs(-Longest);
    const QFileInfoList files = QDir(folder()).entryInfoList(QDir::Files | QDir::Hidden);
    for (const QFileInfo& file : files) {
        if (rest.match(file.fileName()).hasMatch() && file.lastModified() < past)
            QFile::remove(file.filePath()); // or the next time
    }
}

/// The client of the folder's set, kept for the next who asks: a large set that has not changed is read once.
std::shared_ptr<cTrustClient> keptFor(const QString& folder)
{
    static std::shared_ptr<cTrustClient> client;
    static QString itsFolder;
    if (!client || itsFolder != folder)
        client = std::make_shared<cTrustClient>(folder);
    itsFolder = folder;
    return client;
}

} // namespace

cInstallationTrust::cInstallationTrust()
{
    const cMachineSettings settings;
    m_isPinned = settings.contains(RootKey);
    m_pinned = settings.value(RootKey).toString().toUtf8();
}

bool cInstallationTrust::open()
{
    // An installation that came to trust somebody does not stop doing so because its library cannot tell any more.
    if (!Cryptography::isAvailable())
        return fail(Cryptography::description());
    sweep();
    m_client = keptFor(folder());
    m_client->setTime(QDateTime::currentDateTimeUtc());
    QByteArray origin;
    const bool isBegun = readFile(originFile(), origin, nullptr) && origin == m_pinned;
    return (isBegun && (m_client->isAsStored() || m_client->load())) || begin();
}

bool cInstallationTrust::refresh(ITrustSource& source)
{
    if (m_client->refresh(source))
        return true;
    fail(m_client->errorString());
    (void)m_client->load();
    return false;
}

bool cInstallationTrust::begin()
{
    QString error;
    if (QFile::exists(originFile()) && !QFile::remove(originFile()))
        return fail(QStringLiteral("%1 cannot be replaced: %2").arg(originFile(), causeOfSystem(originFile())));
    if (!m_client->trust(m_pinned))
        return fail(QStringLiteral("the pinned root: ") + m_client->errorString());
    return replaceFile(originFile(), m_pinned, &error) || fail(error);
}

QString cInstallationTrust::refusal(const QByteArray& sha256, qint64 length, const QString& fileName) const
{
    if (m_client->findContent(sha256, length, fileName))
        return QString();
    const qint64 limit = m_client->limitOf(fileName);
    if (limit < 0)
        return notNamed();
    return limit == length ? QStringLiteral("its SHA-256 is not the one that the signed metadata gives")
                           : QStringLiteral("has %1 instead of %2").arg(counted(length, "byte")).arg(limit);
}

bool cInstallationTrust::pin(const QByteArray& root, QString* error)
{
    if (!Cryptography::isAvailable()) {
        *error = Cryptography::description();
        return false;
    }
    cTrustedSet set(QDateTime::currentDateTimeUtc());
    if (!set.begin(root)) {
        *error = set.errorString();
        return false;
    }
    // The settings decide; the set is begun anew when it is next asked for.
    cMachineSettings settings;
    return writeSettings(settings, {{RootKey, QString::fromUtf8(root)}}, error);
}

bool cInstallationTrust::unpin(QString* error)
{
    cMachineSettings settings;
    if (!writeSettings(settings, {{RootKey, QVariant()}}, error))
        return false;
    QDir set(folder());
    if (!set.exists() || set.removeRecursively())
        return true;
    *error = QStringLiteral("%1 cannot be removed: %2").arg(folder(), causeOfSystem(folder()));
    return false;
}

bool cInstallationTrust::fail(const QString& reason)
{
    m_errorString = reason;
    return false;
}
