#include "cHost.h"

#include <Norvale/Corvane.h>
#include <Norvale/IConfigMgr.h>
#include <Norvale/IInstallMgr.h>
#include <Norvale/cJsonValue.h>
#include <Norvale/cLogCentral.h>

#include <QtCore/QCoreApplication>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QTextStream>

#include <cstdlib>

namespace {

// A fatal message, of the framework or of Qt, ends the process: somebody has to be told.
void tell(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    QTextStream(stderr) << text << Qt::endl;
    if (type == QtFatalMsg)
        std::_Exit(EXIT_FAILURE);
}

} // namespace

void cHost::nameApplication()
{
    QCoreApplication::setOrganizationName(QStringLiteral("Example"));
    QCoreApplication::setApplicationName(QStringLiteral("NewHost"));
}

cHost::cHost()
{
    qInstallMessageHandler(tell);
    cLogCentral::setDebuggerOutput(true); // switches the hooks on
    cLogCentral::setHooksOnly(true);
    cLogCentral::addHook(this, "onLine");
    // A log file that cannot be opened would end the process, so it is tried before.
    QDir().mkpath(Corvane::velmiraFolderOrFile(Corvane::DataFolder));
    if (QFile(logFile()).open(QIODevice::Append))
        cLogCentral::setLogFile(logFile());
}

cHost::~cHost()
{
    cLogCentral::removeHook(this);
}

QString cHost::logFile()
{
    return QDir(Corvane::velmiraFolderOrFile(Corvane::DataFolder)).filePath(QStringLiteral("NewHost.log"));
}

bool cHost::initialize()
{
    if (!Corvane::initialize())
        return false;
    IPluginMgr* const plugins = IPluginMgr::instance();
    connect(plugins, &IPluginMgr::DoRestart, this, &cHost::restart); // a plugin asks for it
    connect(plugins, &IPluginMgr::pluginStateChanged, this, &cHost::pluginsChanged);
    IConfigMgr::connectProgressSlot(this, SIGNAL(progressed(QString, qint64, qint64)));
    return true;
}

bool cHost::start(const QStringList& categories)
{
    IPluginMgr* const plugins = IPluginMgr::instance();
    cGuardOptions guard;
    guard.writesReports = true; // of a crash, into the folder "crashes" of the data folder
    plugins->setGuard(guard);
    const cPluginFailure failure = plugins->lastFailure();
    if (failure.inARow >= 2) // the suite shall not die of it a third time
        plugins->leaveOut({failure.plugin});

    IInstallMgr::installDropbox(); // also what a run has left unfinished that was killed
    Corvane::setLoadCategories(categories);
    // Plugins that cannot be ordered end the process in startNormal(). discover() finds that, and whatever else would
    // keep the suite from starting, and logs it.
    return plugins->discover() && Corvane::startNormal();
}

bool cHost::stop()
{
    Corvane::stopNormal();
    if (!m_isRestartWanted)
        return true;
    QString program = Corvane::restartSetupFilename();
    if (program.isEmpty())
        program = QCoreApplication::applicationFilePath();
    else
        Corvane::setRestartSetupFilename(QString()); // run once
    return Corvane::launchDetached(program, QStringList());
}

bool cHost::update(QString* said)
{
    const cJsonValue result = IConfigMgr::doUpdateOn(QStringList());
    const int code = result.get("result_code", int(IConfigMgr::NotChecked)).toInt();
    switch (code) {
    case IConfigMgr::UpdateReady:
        *said = tr("Version %1 is ready; a restart installs it.").arg(result.get("update_to_version", "").toString());
        break;
    case IConfigMgr::Cancelled:
        *said = tr("The update has been cancelled; what is installed is as it was.");
        break;
    case IConfigMgr::NothingNewer:
        *said = tr("There is no update.");
        break;
    default:
        *said = tr("The update has failed; what is installed is as it was. The log tells why.");
    }
    return code == IConfigMgr::UpdateReady;
}

QString cHost::stateOf(const cPluginInfo& plugin)
{
    if (plugin.hasFailed)
        return tr("failed");
    switch (plugin.state) {
    case cPluginInfo::Loaded:
        return tr("loaded");
    case cPluginInfo::Started:
        return tr("started");
    case cPluginInfo::Stopped:
        return tr("stopped");
    default:
        return tr("not loaded");
    }
}

void cHost::restart()
{
    m_isRestartWanted = true;
    QCoreApplication::quit();
}

void cHost::onLine(const QString& channel, Qt::HANDLE, const QDateTime& time, debugType level, const QString& text)
{
    static const char* const Levels[] = {"", "warning: ", "error: "};
    emit logged(
        QStringLiteral("%1 %2: %3%4")
            .arg(time.toString(QStringLiteral("HH:mm:ss")), channel, QLatin1String(Levels[level]), text.trimmed()));
}
