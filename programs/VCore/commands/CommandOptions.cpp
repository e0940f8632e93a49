#include "commands/CommandOptions.h"

#include "terminal/Terminal.h"

#include <Norvale/Corvane.h>
#include <Norvale/cLogCentral.h>

#include <QtCore/QCommandLineParser>
#include <QtCore/QFile>

namespace CommandOptions {

const char Categories[] = "categories";
const char Log[] = "log";
const char Trace[] = "trace";
const char Json[] = "json";
const char Timeout[] = "timeout";
const char Wait[] = "wait";

QList<QCommandLineOption> all()
{
    return {{QLatin1String(Categories),
             QStringLiteral("Load the plugins of these load categories, in this order, beside what loads anyway."),
             QStringLiteral("a,b")},
            {QLatin1String(Log), QStringLiteral("Append the log to FILE."), QStringLiteral("FILE")},
            {QLatin1String(Trace),
             QStringLiteral("Write a Chrome trace of start-up and stop to FILE when the run ends."),
             QStringLiteral("FILE")},
            {QLatin1String(Json), QStringLiteral("Print JSON instead of text. With --call the ARGs are JSON, too.")},
            {QLatin1String(Timeout), QStringLiteral("Wait so long for the running host, 30 seconds unless given."),
             QStringLiteral("SECONDS"), QStringLiteral("30")},
            {QLatin1String(Wait),
             QStringLiteral("With --send and --call: wait for a host that does not run yet, up to the time limit.")}};
}

QStringList categories(const QCommandLineParser& line)
{
    QStringList names;
    for (const QString& name : line.value(QLatin1String(Categories)).split(QLatin1Char(',')))
        if (!name.trimmed().isEmpty())
            names.append(name.trimmed());
    return names;
}

bool openLog(const QCommandLineParser& line, void (*show)())
{
    show();
    const QString path = line.value(QLatin1String(Log));
    if (path.isEmpty())
        return true;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append)) { // the library would end the process
        Terminal::reason(QStringLiteral("cannot write the log %1: %2").arg(path, file.errorString()));
        return false;
    }
    file.close();
    cLogCentral::setLogFile(path);
    return true;
}

bool initialise()
{
    if (Corvane::initialize())
        return true;
    Terminal::reason(QStringLiteral("the framework could not be initialised"));
    return false;
}

bool haveNoOptions(const QStringList& words)
{
    for (const QString& word : words) {
        if (word.startsWith(QLatin1Char('-'))) {
            Terminal::reason(QStringLiteral("options stand before the other words: %1").arg(word));
            return false;
        }
    }
    return true;
}

int timeout(const QCommandLineParser& line)
{
    constexpr double LongestSeconds = 86400;
    bool ok = false;
    const double seconds = line.value(QLatin1String(Timeout)).toDouble(&ok);
    if (ok && seconds > 0 && seconds <= LongestSeconds)
        return int(seconds * 1000);
    Terminal::reason(QStringLiteral("--timeout takes seconds, more than 0 and at most %1").arg(LongestSeconds));
    return -1;
}

cHostAddress address()
{
    Corvane::initializeFolderOrFile();
    return cHostAddress::ofInstallation(Corvane::velmiraFolderOrFile(Corvane::CoreFolder));
}

cHostClient::Outcome connectToHost(const QCommandLineParser& line, cHostClient* client)
{
    return line.isSet(QLatin1String(Wait)) ? client->waitFor(address()) : client->connectTo(address());
}

ExitCode failure(cHostClient::Outcome outcome, const cHostClient& client)
{
    Terminal::reason(client.errorString());
    if (outcome == cHostClient::NoHost)
        return ExitCode::NoHost;
    return outcome == cHostClient::TimedOut ? ExitCode::Timeout : ExitCode::ConnectionLost;
}

} // namespace CommandOptions
