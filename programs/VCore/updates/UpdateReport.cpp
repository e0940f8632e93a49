#include "updates/UpdateReport.h"

#include "cTextTable.h"
#include "updates/UpdateSites.h"
#include "updates/cProgressLine.h"

#include <Norvale/Corvane.h>
#include <Norvale/IConfigMgr.h>
#include <Norvale/cVersion.h>

#include <QtCore/QFile>

namespace {

QString textOf(const QJsonObject& result, const char* member)
{
    return result.value(QLatin1String(member)).toString();
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

// What a check and an update say in the same words.
QString failure(const QJsonObject& result)
{
    switch (UpdateReport::codeOf(result)) {
    case ExitCode::NoUpdate:
        if (UpdateSites::list().isEmpty())
            return QStringLiteral("There is no update: no update site is set. VCore --update-sites URL sets one.");
        if (cVersion(textOf(result, "update_to_version")) == cVersion())
            return QStringLiteral("There is no update: no update site has a repository for this installation.");
        return QStringLiteral("There is no update: %1 is the newest version.").arg(textOf(result, "current_version"));
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

} // namespace

const char UpdateReport::SetupProgram[] = "setup_program";

ExitCode UpdateReport::codeOf(const QJsonObject& result)
{
    switch (result.value(QLatin1String("result_code")).toInt(-1)) {
    case IConfigMgr::UpdateFound:
        return needsNewCore(result) ? ExitCode::NewCore : ExitCode::Ok;
    case IConfigMgr::Cancelled:
        return ExitCode::Cancelled;
    case IConfigMgr::NothingNewer:
        return ExitCode::NoUpdate;
    case IConfigMgr::NotFetched:
        return textOf(result, "failed") == QLatin1String("core_version") ? ExitCode::CoreTooOld : ExitCode::FetchFailed;
    case IConfigMgr::FeatureMissing:
        return ExitCode::FeatureMissing;
    default:
        return ExitCode::CheckFailed;
    }
}

QString UpdateReport::table(const QJsonObject& result)
{
    const bool isKnown = result.contains(QLatin1String("requires_new_core"));
    const QString needsCore = needsNewCore(result) ? QStringLiteral("yes") : QStringLiteral("no");
    cTextTable table({QStringLiteral("installed"), QStringLiteral("newest"), QStringLiteral("to fetch"),
                      QStringLiteral("needs a new core")});
    table.addRow({textOf(result, "current_version"), textOf(result, "update_to_version"),
                  needsNewCore(result) ? QString() : sizeOf(result), isKnown ? needsCore : QString()});
    return table.text();
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

QString UpdateReport::updated(const QJsonObject& result)
{
    switch (codeOf(result)) {
    case ExitCode::Ok:
        return QStringLiteral("Version %1 is ready (%2). A restart of VCore installs it.")
            .arg(textOf(result, "update_to_version"), sizeOf(result));
    case ExitCode::NewCore:
        return QStringLiteral("The update needs a new core. Stop VCore and run its setup program:\n%1")
            .arg(textOf(result, SetupProgram));
    default:
        return failure(result);
    }
}

QString UpdateReport::waiting()
{
    if (!QFile::exists(Corvane::velmiraFolderOrFile(Corvane::DropboxRepositoryFile)))
        return QString();
    return QStringLiteral("\nWhat waits in %1 is installed at the next start.")
        .arg(Corvane::velmiraFolderOrFile(Corvane::DropboxFolder));
}
