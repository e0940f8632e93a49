#include "cCommands.h"

#include <Norvale/IPluginMgr.h>
#include <Norvale/IServiceMgr.h>
#include <Norvale/cJsonWriter.h>
#include <QtCore/QHash>

namespace {
IServiceMgr* services()
{
    return IServiceMgr::instance();
}

QString textOf(const cJsonValue& message, const char* member)
{
    return message.get(member, cJsonValue()).toString();
}

void noteInJournal(const QString& what)
{
    services()->invoke("Journal", "note", Q_ARG(QString, "commands"), Q_ARG(QString, what));
}
} // namespace

void cCommands::handleMessage(int connectionId, const cJsonValue& message)
{
    const QString command = textOf(message, "command");
    const Work work = workOf(command);
    if (!work)
        return;
    noteInJournal(QStringLiteral("client %1 asks to %2").arg(connectionId).arg(command));

    cJsonValue answer(ObjectType);
    cJsonValue value;
    const QString error = (this->*work)(message, value);
    if (error.isEmpty())
        answer.insert("command", "RESULT").insert("value", value);
    else
        answer.insert("command", "ERROR").insert("error", "command_failed").insert("text", error);
    const cJsonValue request = message.get("request", cJsonValue());
    if (request.isString() || request.isNumber())
        answer.insert("request", request);
    services()->invoke("VCore", "send", Q_ARG(int, connectionId),
                       Q_ARG(QString, QString::fromLatin1(cJsonWriter::serialize(answer))));
}

cCommands::Work cCommands::workOf(const QString& command)
{
    static const QHash<QString, Work> works{
        {"GREET", &cCommands::greet},
        {"REMEMBER", &cCommands::remember},
        {"COUNT", &cCommands::count},
        {"JOURNAL", &cCommands::journal},
    };
    return works.value(command, nullptr);
}

QString cCommands::greet(const cJsonValue& message, cJsonValue& value)
{
    QString greeting;
    if (!services()->invoke("Greeter", "greet", Q_RETURN_ARG(QString, greeting),
                            Q_ARG(QString, textOf(message, "name"))))
        return "nobody is there to greet";
    value = greeting;
    return QString();
}

QString cCommands::remember(const cJsonValue& message, cJsonValue& value)
{
    const QString name = textOf(message, "name");
    if (name.isEmpty())
        return "\"name\" must be a text";
    bool isStored = false;
    services()->invoke("Settings", "setValue", Q_RETURN_ARG(bool, isStored), Q_ARG(QString, "Greeter/Name"),
                       Q_ARG(QString, name));
    value = isStored;
    return isStored ? QString() : QString("the settings cannot be written");
}

QString cCommands::count(const cJsonValue& message, cJsonValue& value)
{
    if (!message.get("text", cJsonValue()).isString())
        return "\"text\" must be a text";
    // no dependency of this plugin: who never counts never loads it
    if (!services()->serviceExists("WordCount") && !IPluginMgr::instance()->loadByService("WordCount"))
        return "nobody can count";
    const QString text = textOf(message, "text");
    for (const char* what : {"words", "sentences", "characters"}) {
        int number = 0;
        services()->invoke("WordCount", what, Q_RETURN_ARG(int, number), Q_ARG(QString, text));
        value.insert(what, number);
    }
    return QString();
}

QString cCommands::journal(const cJsonValue& message, cJsonValue& value)
{
    QStringList lines;
    const int count = message.get("lines", 10).toInt();
    if (!services()->invoke("Journal", "last", Q_RETURN_ARG(QStringList, lines), Q_ARG(int, count)))
        return "there is no journal";
    value = cJsonValue(ArrayType);
    for (const QString& line : qAsConst(lines))
        value.append(line);
    return QString();
}
