#include "ChildRun.h"
#include "LogFile.h"
#include "Rows.h"
#include "SettingsSandbox.h"

#include "log/cLogCentralData.h"

#include <cstdlib>
#include <functional>

/// What ends a process, or happens at its end.
class tst_LogProcess : public QObject
{
    Q_OBJECT

private slots:
    void ends_data();
    void ends();

private:
    SettingsSandbox m_sandbox;
};

void tst_LogProcess::ends_data()
{
    const Rows<QStringList, QString, QString, QString> row("steps", "standardError", "lines", "storedSwitch");
    row("no channel", {"no channel"}, "killed: Called output without a logger!\n", "", "");
    row("no file", {"FOLDER/absent/100%s.log"}, "killed: Failed to open log file FOLDER/absent/100%s.log\n", "", "");
    row("a warning is on disk before the end", {"FOLDER/a.log", "info", "warning", "abort"},
        "killed: ", "[!]text \n[!]reason \n", "");
    row("lines for the debugger", {"debugger", "info", "no line end"}, "T#:!:text \nT#:%3:%1 \n", "", "true");
    row("buffered lines are on disk at the end", {"FOLDER/a.log", "info"}, "", "[!]text \n", "true");
    row("switched off", {"FOLDER/a.log", "info", "disable"}, "", "[!]text \n", "false");
    row("still switched off", {"FOLDER/a.log", "info"}, "", "", "false");
}

/// The system channel reads its switch when it is first used, and stores it at the end.
void tst_LogProcess::ends()
{
    QFETCH(QStringList, steps);
    const LogFile file;
    Platform::DebuggerLines debugger;
    QProcess child;
    child.start(QCoreApplication::applicationFilePath(),
                QStringList("child") + steps.replaceInStrings("FOLDER", file.path("")));
    QVERIFY(child.waitForFinished());
    // A fatal message is Qt's own, on standard error everywhere.
    QString said = Platform::isAborted(child) ? "killed: " + Platform::consoleText(child.readAllStandardError()) : "";
    said += QString::fromUtf8(debugger.take(child));
    said.replace(file.path(""), "FOLDER");
    QTEST(said.replace(QRegularExpression("T[1-9][0-9]*:"), "T#:"), "standardError");
    QTEST(file.lines(), "lines");
    QTEST(QSettings().value("Log/!/enabled").toString(), "storedSwitch");
}

// The names that are set before its first use count for it, too.
static cLog early;

/// One that names no step opens a log file.
static int takeSteps(const QStringList& words)
{
    const QMap<QString, std::function<void()>> steps{
        {"no channel", [] { cLogCentralData().output(nullptr, debugInfo, "text"); }},
        {"info", [] { early.info() << "text" << Qt::endl; }},
        {"warning", [] { early.warning() << "reason" << Qt::endl; }},
        {"disable", [] { early.disable(); }},
        {"abort", [] { std::abort(); }},
        {"debugger", [] { cLogCentral::setDebuggerOutput(true); }},
        {"no line end", [] { cLogCentral::log("%3").info() << "%1" << Qt::flush; }},
    };
    for (const QString& step : words)
        steps.value(step, [&] { cLogCentral::setLogFile(step); })();
    return 0;
}

TEST_OR_CHILD_MAIN(tst_LogProcess, takeSteps)

#include "tst_LogProcess.moc"
