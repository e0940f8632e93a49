#include "cHost.h"

#include <Norvale/IConfigMgr.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QCoreApplication>
#include <QtCore/QTextStream>
#include <QtCore/QTimer>
#include <QtCore/QUrl>

#include <csignal>
#include <cstdlib>

namespace {

QTextStream& out()
{
    static QTextStream stream(stdout);
    return stream;
}

volatile std::sig_atomic_t s_isStopWanted = 0;

// A signal handler may do next to nothing; a timer looks for what it has noted.
void quitOnSignals()
{
    for (const int number : {SIGINT, SIGTERM})
        std::signal(number, [](int) { s_isStopWanted = 1; });
    auto* const timer = new QTimer(QCoreApplication::instance());
    QObject::connect(timer, &QTimer::timeout, [] {
        if (s_isStopWanted)
            QCoreApplication::quit();
    });
    timer->start(100); // milliseconds
}

void showPlugins()
{
    for (const cPluginInfo& plugin : IPluginMgr::instance()->plugins()) {
        const QString reason = plugin.reason.isEmpty() ? QString() : QStringLiteral(": ") + plugin.reason;
        out() << plugin.name << '-' << plugin.version.toString() << ' ' << cHost::stateOf(plugin) << reason << Qt::endl;
    }
}

void update(cHost& host)
{
    QString said;
    host.update(&said);
    out() << said << Qt::endl;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    cHost::nameApplication();
    QCommandLineParser options;
    options.addHelpOption();
    options.addOptions({{"list", "Start the suite, list its plugins, and stop."},
                        {"update", "Fetch what is newer before the start, which installs it."},
                        {"site", "Ask the update site at this URL from now on.", "URL"}});
    options.process(app);
    if (options.isSet("site") && !IConfigMgr::setUpdateLocations({QUrl::fromUserInput(options.value("site"))}))
        return EXIT_FAILURE;

    cHost host;
    QObject::connect(&host, &cHost::logged, [](const QString& line) { QTextStream(stderr) << line << Qt::endl; });
    QObject::connect(&host, &cHost::progressed, [](const QString& what, qint64 done, qint64 total) {
        out() << '\r' << what << ": " << done << " of " << total << " bytes" << (done == total ? "\n" : "") << Qt::flush;
    });
    if (!host.initialize())
        return EXIT_FAILURE;
    if (options.isSet("update"))
        update(host);
    if (!host.start({"base", "ui"}))
        return EXIT_FAILURE;
    quitOnSignals();
    int code = EXIT_SUCCESS;
    if (options.isSet("list"))
        showPlugins();
    else
        code = app.exec();
    return host.stop() ? code : EXIT_FAILURE;
}
