// The commands around the running host: to list it, and to speak to it.
#include "Diagnostics.h"
#include "SuiteReport.h"
#include "commands/Commands.h"
#include "common/System.h"
#include "common/Terminal.h"
#include "common/cProgram.h"
#include "guard/PluginChoice.h"
#include "wire/WireText.h"
#include "wire/cHostAddress.h"
#include "wire/cHostClient.h"

#include <Norvale/IPluginMgr.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonDocument>

namespace {

// Says why @p client did not get its answers.
ExitCode codeOf(cHostClient::Outcome outcome, const cHostClient& client)
{
    switch (outcome) {
    case cHostClient::Done:
        return ExitCode::Ok;
    case cHostClient::NoHost:
        return endWith(ExitCode::NoHost, client.errorString());
    case cHostClient::TimedOut:
        return endWith(ExitCode::Timeout, client.errorString());
    case cHostClient::Lost:
        break;
    }
    return endWith(ExitCode::ConnectionLost, client.errorString());
}

/// What the commands have in common that ask the running host.
class cAskingCommand : public cCommand
{
public:
    ExitCode run() final
    {
        int milliseconds = 0;
        if (!readTimeout(m_timeout, &milliseconds))
            return ExitCode::Usage;
        cHostClient client(milliseconds);
        return ask(client);
    }

protected:
    /// Asks through @p client, which is not connected yet.
    virtual ExitCode ask(cHostClient& client) = 0;

    void addTimeout(cSyntax& syntax)
    {
        syntax.add("--timeout", &m_timeout,
                   "Wait so long for the running host; with --bisect for the start, the command and the stop each, "
                   "60 unless given.",
                   "SECONDS");
    }

    void addWaiting(cSyntax& syntax)
    {
        syntax.add("--wait", &m_waits,
                   "With --send and --call: wait for a host that does not run yet, up to the time limit.");
    }

    cHostClient::Outcome connect(cHostClient& client) const
    {
        const cHostAddress address = cHostAddress::ofThisInstallation();
        return m_waits ? client.waitFor(address) : client.connectTo(address);
    }

    ExitCode connectAndAsk(cHostClient& client, const QByteArray& message,
                           const cHostClient::AnswerFunction& onAnswer) const
    {
        const cHostClient::Outcome outcome = connect(client);
        return codeOf(outcome == cHostClient::Done ? client.ask(message, onAnswer) : outcome, client);
    }

private:
    QString m_timeout = QStringLiteral("30");
    bool m_waits = false;
};

/// Shows features, plugins and services: those of the running host, or what is installed when none is running.
class cListCommand : public cAskingCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("--list", "Show features, plugins and services, and why a plugin does not run: those of the "
                              "running host, or what is installed when none is running.");
        addJsonFlag(syntax, &m_isJson);
        m_log.addTo(syntax);
        addTimeout(syntax);
    }

protected:
    ExitCode ask(cHostClient& client) override
    {
        ExitCode code = m_log.open(Diagnostics::showReasons);
        if (code != ExitCode::Ok)
            return code;
        const cHostClient::Outcome connected = connect(client);
        if (connected == cHostClient::TimedOut)
            return codeOf(connected, client);
        const bool isRunning = connected == cHostClient::Done;
        QJsonObject report;
        code = isRunning ? listRunning(client, &report) : listInstalled(&report);
        if (code != ExitCode::Ok)
            return code;
        report.insert(QStringLiteral("running"), isRunning);
        report.insert(QStringLiteral("disabled"), QJsonArray::fromStringList(PluginChoice::disabled()));
        if (m_isJson)
            answerJson(report);
        else
            Terminal::answer(SuiteReport::tables(report, System::terminalColumns(System::Output)));
        const int failed = SuiteReport::countFailed(report);
        if (failed == 0)
            return ExitCode::Ok;
        return endWith(ExitCode::PluginFailed,
                       QStringLiteral("%1 should run and %2 failed; the column \"reason\" tells why")
                           .arg(Terminal::counted(failed, "plugin"),
                                failed == 1 ? QStringLiteral("has") : QStringLiteral("have")));
    }

private:
    static ExitCode listInstalled(QJsonObject* report)
    {
        const ExitCode code = initialiseFramework();
        if (code != ExitCode::Ok)
            return code;
        IPluginMgr::instance()->leaveOut(PluginChoice::disabled());
        IPluginMgr::instance()->discover(); // what is faulty is logged, and shown with what is known
        *report = SuiteReport::collect();
        return ExitCode::Ok;
    }

    static ExitCode listRunning(cHostClient& client, QJsonObject* report)
    {
        const QByteArray message = R"({"command":"LIST","request":"list"})";
        const cHostClient::Outcome outcome = client.ask(message, [&](const QByteArray&, const QJsonObject& answer) {
            if (answer.value(WireText::RequestMember) == QLatin1String("list"))
                *report = answer.value(QStringLiteral("value")).toObject();
        });
        return codeOf(outcome, client);
    }

    cLogOption m_log;
    bool m_isJson = false;
};

/// Sends a message to the running host and prints every answer on a line.
class cSendCommand : public cAskingCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("--send", "Send JSON to the running host and print each answer on a line.", &m_message, "JSON");
        addJsonFlag(syntax, &m_isJson); // as all answers are anyway
        addTimeout(syntax);
        addWaiting(syntax);
    }

protected:
    ExitCode ask(cHostClient& client) override
    {
        bool hasError = false;
        const auto print = [&](const QByteArray& text, const QJsonObject& answer) {
            hasError |= answer.value(QStringLiteral("command")) == QLatin1String("ERROR");
            Terminal::answerJson(QString::fromUtf8(text));
        };
        const ExitCode code = connectAndAsk(client, m_message.toUtf8(), print);
        return code == ExitCode::Ok && hasError ? ExitCode::CallFailed : code;
    }

private:
    QString m_message;
    bool m_isJson = false;
};

/// Calls a method of a service in the running host and prints what it returns.
class cCallCommand : public cAskingCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("--call", "Call a method of a service in the running host and print what it returns. Options "
                              "stand before SERVICE, all behind it are ARGs.");
        addJsonFlag(syntax, &m_isJson);
        addTimeout(syntax);
        addWaiting(syntax);
        syntax.add("SERVICE METHOD [ARG...]", &m_words, "");
        syntax.leastWords = 2;
        syntax.mostWords = 12;
    }

protected:
    ExitCode ask(cHostClient& client) override
    {
        const QString request = QStringLiteral("call");
        QJsonArray arguments;
        if (!readArguments(&arguments))
            return ExitCode::Usage;
        const QJsonObject message{{QStringLiteral("command"), QStringLiteral("CALL")},
                                  {QStringLiteral("service_id"), m_words.at(0)},
                                  {QStringLiteral("method"), m_words.at(1)},
                                  {QStringLiteral("args"), arguments},
                                  {WireText::RequestMember, request}};
        ExitCode answered = ExitCode::CallFailed;
        const auto print = [&](const QByteArray&, const QJsonObject& answer) {
            if (answer.value(WireText::RequestMember) != request)
                return;
            if (answer.value(QStringLiteral("command")) == QLatin1String("RESULT")) {
                printResult(answer);
                answered = ExitCode::Ok;
            } else {
                Terminal::error(answer.value(QStringLiteral("text")).toString());
            }
        };
        const ExitCode code = connectAndAsk(client, WireText::write(message), print);
        return code == ExitCode::Ok ? answered : code;
    }

private:
    // Qt writes and reads whole documents only, so a single value travels in an array.
    static QString jsonText(const QJsonValue& value)
    {
        return QString::fromUtf8(QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact)).mid(1).chopped(1);
    }

    bool readArguments(QJsonArray* arguments) const
    {
        for (const QString& text : m_words.mid(2)) {
            const QJsonArray value =
                m_isJson ? QJsonDocument::fromJson('[' + text.toUtf8() + ']').array() : QJsonArray{text};
            if (value.size() != 1) {
                Terminal::error(QStringLiteral("this argument is no JSON: %1").arg(text));
                return false;
            }
            arguments->append(value.first());
        }
        return true;
    }

    void printResult(const QJsonObject& answer) const
    {
        const QJsonValue value = answer.value(QStringLiteral("value"));
        const bool isNothing = answer.value(QStringLiteral("type")) == QLatin1String("void");
        if (value.isString() && !m_isJson)
            Terminal::answer(value.toString());
        else if (m_isJson || !isNothing)
            Terminal::answerJson(jsonText(value));
    }

    QStringList m_words;
    bool m_isJson = false;
};

} // namespace

void addHostCommands(cProgram& program)
{
    program.add(std::make_unique<cListCommand>());
    program.add(std::make_unique<cSendCommand>());
    program.add(std::make_unique<cCallCommand>());
}
