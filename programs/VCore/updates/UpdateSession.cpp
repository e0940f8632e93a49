#include "updates/UpdateSession.h"

#include "common/Terminal.h"
#include "wire/WireText.h"

#include <Norvale/Corvane.h>
#include <Norvale/IConfigMgr.h>
#include <Norvale/IInstallMgr.h>
#include <Norvale/IPluginMgr.h>
#include <Norvale/cJsonValue.h>
#include <Norvale/cVersion.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>
#include <QtCore/QJsonArray>

namespace {

const QString ResultCode = QStringLiteral("result_code");
const QString SitesMember = QStringLiteral("sites");
const QString FailuresMember = QStringLiteral("failures");
constexpr char SetupProgram[] = "setup_program"; // path of the one that an update has fetched

ExitCode take(cHostLock* lock, const QString& path, ExitCode whenHeld, const QString& holder)
{
    switch (lock->take(path)) {
    case cHostLock::Taken:
        return ExitCode::Ok;
    case cHostLock::Held:
        return endWith(whenHeld, holder + lock->errorString());
    case cHostLock::Failed:
        break;
    }
    return endWith(ExitCode::SocketFailed, lock->errorString());
}

QString textOf(const QJsonObject& result, const char* member)
{
    return result.value(QLatin1String(member)).toString();
}

// How the sites have answered, beside what the check has found.
QJsonObject sitesAsked()
{
    const cSitesOutcome outcome = IConfigMgr::lastSites();
    QJsonArray failures;
    for (const cSitesOutcome::cFailure& failure : outcome.failures) {
        failures.append(QJsonObject{{QStringLiteral("url"), failure.url}, {QStringLiteral("reason"), failure.reason}});
    }
    return {{QStringLiteral("asked"), outcome.sites}, {FailuresMember, failures}};
}

QJsonArray failuresOf(const QJsonObject& result)
{
    return result.value(SitesMember).toObject().value(FailuresMember).toArray();
}

// Whether a description of a repository for this installation has been read.
bool isNewestKnown(const QJsonObject& result)
{
    return cVersion() < cVersion(textOf(result, "update_to_version"));
}

QString noSiteAnswered(const QJsonObject& result)
{
    QStringList reasons;
    for (const auto& failure : failuresOf(result)) {
        reasons.append(QStringLiteral("%1: %2").arg(failure.toObject().value(QLatin1String("url")).toString(),
                                                    failure.toObject().value(QLatin1String("reason")).toString()));
    }
    const bool isRefused = !reasons.filter(QStringLiteral(" is refused: ")).isEmpty();
    return QStringLiteral("No update site gave a sound answer, so it is not known whether there is an update (%1). %2")
        .arg(reasons.join(QStringLiteral("; ")),
             isRefused
                 ? QStringLiteral("VCore --trust shows whom this installation trusts, and until when.")
                 : QStringLiteral("Is the network there? VCore --update-sites shows the sites, and sets others."));
}

QString nothingNewer(const QJsonObject& result)
{
    if (IConfigMgr::updateLocations().isEmpty())
        return QStringLiteral("There is no update: no update site is set. VCore --update-sites URL sets one.");
    if (!isNewestKnown(result))
        return QStringLiteral("There is no update: no update site has a repository for this installation.");
    const QString newest =
        QStringLiteral("There is no update: %1 is the newest version.").arg(textOf(result, "current_version"));
    return failuresOf(result).isEmpty()
               ? newest
               : newest + QStringLiteral(" Not all could be read of the update sites, as the warnings tell.");
}

bool needsNewCore(const QJsonObject& result)
{
    return result.value(QLatin1String("requires_new_core")).toBool();
}

QString sizeOf(const QJsonObject& result)
{
    const QJsonValue size = result.value(QLatin1String("size"));
    return size.isUndefined() ? QString() : cProgressLine::sizeText(qint64(size.toDouble()));
}

// How much of the packages had to be fetched, where that was less than all.
QString fetchedOf(const QJsonObject& result)
{
    const qint64 size = qint64(result.value(QLatin1String("size")).toDouble());
    const qint64 fetched = qint64(result.value(QLatin1String("fetched")).toDouble());
    if (fetched >= size)
        return sizeOf(result);
    const int percent = int((fetched * 100 + size - 1) / size); // 0 is nothing
    return QStringLiteral("fetched %1 of %2, %3 % of the packages")
        .arg(cProgressLine::sizeText(fetched), sizeOf(result), QString::number(percent));
}

// What a check and an update say in the same words.
QString failure(const QJsonObject& result)
{
    switch (UpdateReport::codeOf(result)) {
    case ExitCode::NoUpdate:
        return nothingNewer(result);
    case ExitCode::NoSiteAnswered:
        return noSiteAnswered(result);
    case ExitCode::Cancelled:
        return QStringLiteral("Cancelled. What is installed is as it was.");
    case ExitCode::CoreTooOld:
        return QStringLiteral("The update %1 needs a newer core than the installed version %2.")
            .arg(textOf(result, "update_to_version"), textOf(result, "current_version"));
    case ExitCode::FetchFailed:
        return QStringLiteral("%1 could not be fetched. What is installed is as it was.").arg(textOf(result, "failed"));
    case ExitCode::FeatureMissing:
        return QStringLiteral("The newest repository lacks a feature that is installed, needed or asked for.");
    default:
        return QStringLiteral("The update check ended without a result.");
    }
}

// Of what waited and has not been installed; the log has named the cause.
QString whatWaitsOn(const cInstallOutcome& outcome)
{
    const QString folder = Corvane::velmiraFolderOrFile(Corvane::DropboxFolder);
    const QString cause = outcome.reason.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(outcome.reason);
    const QString advice = outcome.hasDiskRefused || outcome.result == cInstallOutcome::Failed
                               ? QStringLiteral("it waits there; mend the cause and start VCore again")
                               : QStringLiteral("VCore --update fetches what is missing");
    return QStringLiteral("not all that waits in %1 could be installed%2: what was installed before stays and is "
                          "started; %3")
        .arg(folder, cause, advice);
}

} // namespace

ExitCode cChangeLock::takeForFetching()
{
    const cHostAddress address = cHostAddress::ofThisInstallation();
    if (!address.isValid())
        return endWith(ExitCode::SocketFailed, address.errorString());
    return take(&m_update, address.updateLockPath(), ExitCode::UpdateRunning,
                QStringLiteral("an update is being fetched or installed: "));
}

ExitCode cChangeLock::takeForInstalling()
{
    const ExitCode code = takeForFetching();
    if (code != ExitCode::Ok)
        return code;
    return take(&m_host, cHostAddress::ofThisInstallation().lockPath(), ExitCode::HostRunning,
                QStringLiteral("VCore is running, stop it first (`VCore --call VCore quit`): "));
}

bool installWaiting(bool isQuiet)
{
    const cInstallReport report(QStringLiteral("Installing"), isQuiet);
    const bool ok = IInstallMgr::installDropbox();
    if (!ok)
        Terminal::warning(whatWaitsOn(IInstallMgr::lastOutcome()));
    return ok;
}

cUpdateSession::cUpdateSession()
{
    QObject::connect(&m_stopSignals, &cStopSignals::stopRequested, &m_progress, [this] {
        m_isCancelled = true;
        IConfigMgr::cancelUpdate();
    });
    IPluginMgr::instance()->discover(); // a plugin that is there is not fetched again; what is faulty is logged
}

QJsonObject cUpdateSession::check()
{
    QJsonObject result = run(IConfigMgr::checkForUpdates);
    if (m_isCancelled)
        result.insert(ResultCode, IConfigMgr::Cancelled);
    return result;
}

QJsonObject cUpdateSession::update(const QStringList& features)
{
    QJsonObject result = run([&] { return IConfigMgr::doUpdateOn(features); });
    if (UpdateReport::codeOf(result) == ExitCode::NewCore)
        result.insert(QLatin1String(SetupProgram), Corvane::restartSetupFilename());
    return result;
}

// A stop signal that has come so far is served first; the work would not hear of it.
QJsonObject cUpdateSession::run(const std::function<cJsonValue()>& work)
{
    QCoreApplication::processEvents();
    if (m_isCancelled)
        return {{ResultCode, IConfigMgr::Cancelled}};
    QJsonValue answer;
    QJsonObject result = WireText::toQt(work(), &answer) ? answer.toObject() : QJsonObject();
    result.insert(SitesMember, sitesAsked());
    return result;
}

ExitCode UpdateReport::codeOf(const QJsonObject& result)
{
    switch (result.value(QLatin1String("result_code")).toInt(-1)) {
    case IConfigMgr::UpdateFound:
        return needsNewCore(result) ? ExitCode::NewCore : ExitCode::Ok;
    case IConfigMgr::Cancelled:
        return ExitCode::Cancelled;
    case IConfigMgr::NothingNewer:
        return isNewestKnown(result) || failuresOf(result).isEmpty() ? ExitCode::NoUpdate : ExitCode::NoSiteAnswered;
    case IConfigMgr::NotFetched:
        return textOf(result, "failed") == QLatin1String("core_version") ? ExitCode::CoreTooOld : ExitCode::FetchFailed;
    case IConfigMgr::FeatureMissing:
        return ExitCode::FeatureMissing;
    default:
        return ExitCode::CheckFailed;
    }
}

cStyledLines UpdateReport::table(const QJsonObject& result)
{
    const bool isKnown = result.contains(QLatin1String("requires_new_core"));
    const QString needsCore = needsNewCore(result) ? QStringLiteral("yes") : QStringLiteral("no");
    cTextTable table({QStringLiteral("installed"), QStringLiteral("newest"), QStringLiteral("to fetch"),
                      QStringLiteral("needs a new core")});
    table.addRow({textOf(result, "current_version"),
                  isNewestKnown(result) ? textOf(result, "update_to_version") : QString(),
                  needsNewCore(result) ? QString() : sizeOf(result), isKnown ? needsCore : QString()});
    return table.lines();
}

cStyledLines UpdateReport::notes(const QJsonObject& result)
{
    cStyledLines lines;
    for (const auto& note : result.value(QLatin1String("notes")).toArray()) {
        const QJsonObject object = note.toObject();
        lines.append(
            cStyledLine(textOf(object, "feature") + QLatin1Char(' ') + textOf(object, "version"), Style::Heading));
        for (const QString& line : textOf(object, "text").split(QLatin1Char('\n')))
            lines.append(cStyledLine(QStringLiteral("  ") + line));
    }
    return lines;
}

QString UpdateReport::checked(const QJsonObject& result)
{
    switch (codeOf(result)) {
    case ExitCode::Ok:
        return QStringLiteral("There is an update. VCore --update fetches it.");
    case ExitCode::NewCore:
        return QStringLiteral("There is an update, which needs a new core first. VCore --update fetches its setup "
                              "program.");
    default:
        return failure(result);
    }
}

QStringList UpdateReport::updated(const QJsonObject& result)
{
    switch (codeOf(result)) {
    case ExitCode::Ok:
        return {QStringLiteral("Version %1 is ready (%2). A restart of VCore installs it.")
                    .arg(textOf(result, "update_to_version"), fetchedOf(result))};
    case ExitCode::NewCore:
        return {QStringLiteral("The update needs a new core. Stop VCore and run its setup program:"),
                textOf(result, SetupProgram)};
    default:
        return {failure(result)};
    }
}

QString UpdateReport::nothingPinned()
{
    return QStringLiteral("No root of trust is pinned: what the update sites offer is not verified. VCore --trust FILE "
                          "pins one.");
}

bool UpdateReport::isWaiting()
{
    return QFile::exists(Corvane::velmiraFolderOrFile(Corvane::DropboxRepositoryFile));
}

void UpdateReport::tellWaiting()
{
    if (isWaiting()) {
        Terminal::answer(QStringLiteral("What waits in %1 is installed at the next start.")
                             .arg(Corvane::velmiraFolderOrFile(Corvane::DropboxFolder)));
    }
}
