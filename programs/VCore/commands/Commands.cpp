#include "commands/Commands.h"
#include "Diagnostics.h"
#include "common/Terminal.h"
#include "updates/UpdateSession.h"
#include "wire/WireText.h"

#include <Norvale/Corvane.h>
#include <Norvale/cLogCentral.h>

#include <QtCore/QFile>

ExitCode cLogOption::open(void (*show)()) const
{
    show();
    if (m_path.isEmpty())
        return ExitCode::Ok;
    QFile file(m_path);
    // The library would end the process.
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append)) {
        return endWith(ExitCode::FileFailed,
                       QStringLiteral("cannot write the log %1: %2").arg(m_path, file.errorString()));
    }
    file.close();
    cLogCentral::setLogFile(m_path);
    return ExitCode::Ok;
}

void addJsonFlag(cSyntax& syntax, bool* target)
{
    syntax.add("--json", target, "Print JSON instead of text. With --call the ARGs are JSON, too.");
}

void answerJson(const QJsonObject& object)
{
    Terminal::answerJson(QString::fromUtf8(WireText::write(object)));
}

bool readTimeout(const QString& seconds, int* milliseconds)
{
    constexpr double Longest = 86400;
    bool isNumber = false;
    const double number = seconds.toDouble(&isNumber);
    if (isNumber && number > 0 && number <= Longest) {
        *milliseconds = int(number * 1000);
        return true;
    }
    Terminal::error(QStringLiteral("--timeout takes seconds, more than 0 and at most %1").arg(Longest));
    return false;
}

ExitCode initialiseFramework()
{
    if (Corvane::initialize())
        return ExitCode::Ok;
    return endWith(ExitCode::InitialiseFailed, QStringLiteral("the framework could not be initialised"));
}

ExitCode beginChange(const cLogOption& log, cChangeLock& lock, ExitCode (cChangeLock::*take)())
{
    ExitCode code = log.open(Diagnostics::showReasons);
    if (code == ExitCode::Ok)
        code = (lock.*take)();
    return code == ExitCode::Ok ? initialiseFramework() : code;
}
