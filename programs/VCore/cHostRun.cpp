#include "cHostRun.h"

#include "Diagnostics.h"
#include "HostInterface.h"
#include "common/System.h"
#include "common/Terminal.h"
#include "updates/UpdateSession.h"
#include "wire/cHostAddress.h"

#include <Norvale/Corvane.h>
#include <Norvale/IConfigMgr.h>
#include <Norvale/IPluginMgr.h>

#include <QtCore/QCoreApplication>

#include <algorithm>

namespace {

// A request of an earlier run to set the suite up anew is void.
void forgetRestartRequests()
{
    if (Corvane::restartOption() != Corvane::NoRestart)
        Corvane::setRestartOption(Corvane::NoRestart);
    if (!Corvane::restartSetupFilename().isEmpty())
        Corvane::setRestartSetupFilename(QString());
}

// Whether somebody sees what is said. Nobody else is told what goes as it should.
bool isWatched()
{
    return System::terminalColumns() > 0;
}

void tellStopping()
{
    Terminal::note(QStringLiteral("stopping; Ctrl+C ends it at once"));
}

// By the repository that the suite comes from.
QString suiteName()
{
    for (const cFeatureInfo& feature : IConfigMgr::installedFeatures()) {
        if (!feature.repository.isEmpty())
            return feature.repository + QLatin1Char(' ') + Corvane::currentVersion();
    }
    return QStringLiteral("the suite");
}

void tellRunning()
{
    const QList<cPluginInfo> plugins = IPluginMgr::instance()->plugins();
    const auto isStarted = [](const cPluginInfo& plugin) { return plugin.state == cPluginInfo::Started; };
    const auto started = std::count_if(plugins.begin(), plugins.end(), isStarted);
    Terminal::note(QStringLiteral("%1 runs in %2: %3 of %4 started. Ctrl+C stops it, and so does `VCore --call VCore "
                                  "quit`.")
                       .arg(suiteName(), Corvane::velmiraFolderOrFile(Corvane::CoreFolder))
                       .arg(started)
                       .arg(Terminal::counted(plugins.size(), "plugin")));
}

bool isRestartRequested()
{
    return Corvane::restartOption() != Corvane::NoRestart || !Corvane::restartSetupFilename().isEmpty();
}

} // namespace

cHostRun::cHostRun(const Options& options) : m_options(options), m_trace(options.tracePath)
{
    Diagnostics::setLastAct([this] { finishTrace(); });
}

cHostRun::~cHostRun()
{
    Diagnostics::setLastAct({});
}

ExitCode cHostRun::run()
{
    m_stopSignals = std::make_unique<cStopSignals>();
    stopOn(m_stopSignals.get(), &cStopSignals::stopRequested);
    if (isWatched())
        QObject::connect(m_stopSignals.get(), &cStopSignals::stopRequested, tellStopping);
    ExitCode code = takeAddress();
    if (code != ExitCode::Ok)
        return code;
    code = initialise();
    if (code == ExitCode::Ok) {
        installWaiting();
        code = start();
    }
    if (code == ExitCode::Ok) {
        code = m_options.isStartOnly ? ExitCode::Ok : serve();
        stop();
    }
    m_handler.reset();
    m_service.reset();
    m_server.close();
    if (!finishTrace() && code == ExitCode::Ok)
        return ExitCode::FileFailed;
    if (m_options.isStartOnly && code == ExitCode::Ok)
        Terminal::answer(StartOnlyAnswer);
    return code;
}

// Queued, so that whoever asks gets on with what it does, such as answering, before the loop ends.
template <typename Sender, typename Signal>
void cHostRun::stopOn(Sender* sender, Signal signal)
{
    const auto stop = [this] {
        m_isStopRequested = true;
        QCoreApplication::quit();
    };
    QObject::connect(sender, signal, &m_server, stop, Qt::QueuedConnection);
}

ExitCode cHostRun::takeAddress()
{
    switch (m_server.listen(cHostAddress::ofThisInstallation())) {
    case cHostServer::Listening:
        return ExitCode::Ok;
    case cHostServer::HostIsAlive:
        return endWith(ExitCode::HostRunning,
                       QStringLiteral("VCore is already running for %1, `VCore --call VCore quit` stops it: %2")
                           .arg(Corvane::velmiraFolderOrFile(Corvane::CoreFolder), m_server.errorString()));
    case cHostServer::Failed:
        break;
    }
    return endWith(ExitCode::SocketFailed, m_server.errorString());
}

ExitCode cHostRun::initialise()
{
    forgetRestartRequests();
    m_trace.begin(QStringLiteral("initialise"));
    const bool ok = Corvane::initialize();
    m_trace.end(ok);
    if (!ok)
        return endWith(ExitCode::InitialiseFailed, QStringLiteral("the framework could not be initialised"));
    if (!m_options.tracePath.isEmpty())
        IPluginMgr::instance()->setObserver(&m_trace);
    m_service = std::make_unique<cHostService>(&m_server);
    m_handler = std::make_unique<cHostHandler>(&m_server);
    stopOn(m_service.get(), &cHostService::quitRequested);
    stopOn(m_handler.get(), &cHostHandler::quitRequested);
    stopOn(IPluginMgr::instance(), &IPluginMgr::DoRestart);
    return ExitCode::Ok;
}

void cHostRun::installWaiting()
{
    cChangeLock lock;
    if (lock.takeForFetching() != ExitCode::Ok) {
        Terminal::warning(QStringLiteral("what waits to be installed has to wait for the next start"));
        return;
    }
    m_trace.begin(QStringLiteral("install what waits"));
    m_trace.end(::installWaiting());
}

ExitCode cHostRun::start()
{
    m_stopSignals->waitForLoop();
    Corvane::setLoadCategories(m_options.plugins.categories);
    PluginChoice::prepareStart(m_options.plugins);
    m_trace.begin(QStringLiteral("start the suite"));
    const bool ok = Corvane::startNormal();
    m_trace.end(ok);
    if (ok)
        return ExitCode::Ok;
    IPluginMgr::instance()->setObserver(nullptr);
    if (IPluginMgr::instance()->lastOutcome().result == cStartOutcome::NoCore) {
        return endWith(
            ExitCode::NoCore,
            QStringLiteral("there is nothing to run: the feature \"Core\" is not installed in %1. `VCore "
                           "--update Core` fetches it from the update sites, `VCore --install FILE` installs "
                           "it from a repository's description")
                .arg(Corvane::velmiraFolderOrFile(Corvane::CoreFolder)));
    }
    return endWith(ExitCode::StartFailed,
                   QStringLiteral("the suite could not be started; the log lines above tell why"));
}

ExitCode cHostRun::serve()
{
    if (isWatched() && !m_isStopRequested)
        tellRunning();
    const int loopCode = m_isStopRequested ? 0 : QCoreApplication::exec();
    if (loopCode != 0) {
        return endWith(ExitCode::LoopEnded,
                       QStringLiteral("a plugin ended the event loop with the code %1").arg(loopCode));
    }
    if (!isRestartRequested())
        return ExitCode::Ok;
    Terminal::note(QStringLiteral("the suite asks to be set up anew with %1").arg(Corvane::restartSetupFilename()));
    return ExitCode::Restart;
}

void cHostRun::stop()
{
    m_trace.begin(QStringLiteral("stop the suite"));
    Corvane::stopNormal();
    m_trace.end(true);
    IPluginMgr::instance()->setObserver(nullptr);
}

bool cHostRun::finishTrace()
{
    QString error;
    if (m_trace.finish(&error))
        return true;
    Terminal::error(error);
    return false;
}
