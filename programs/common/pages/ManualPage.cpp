#include "common/pages/cDescription.h"

namespace {

/// Text as roff takes it: no letter of it is a request or an escape.
QString escaped(const QString& text)
{
    QString result = text;
    result.replace(QLatin1Char('\\'), QLatin1String("\\e")).replace(QLatin1Char('-'), QLatin1String("\\-"));
    if (result.startsWith(QLatin1Char('.')) || result.startsWith(QLatin1Char('\'')))
        result.prepend(QLatin1String("\\&"));
    return result;
}

QString bold(const QString& text)
{
    return QStringLiteral("\\fB%1\\fR").arg(escaped(text));
}

QString italic(const QString& text)
{
    return QStringLiteral("\\fI%1\\fR").arg(escaped(text));
}

/// "-o, --output FILE"
QString headOf(const cSyntax::Parameter& option)
{
    QStringList names;
    for (const QByteArray& name : cDescription::namesOf(option))
        names.append(bold(QString::fromUtf8(name)));
    const QString head = names.join(QStringLiteral(", "));
    return cDescription::hasValue(option) ? head + QLatin1Char(' ') + italic(QString::fromUtf8(option.form)) : head;
}

/// Help as whole sentences, whether it is written as one or not.
QString sentence(const QString& help)
{
    const bool isWhole = help.isEmpty() || help.endsWith(QLatin1Char('.')) || help.endsWith(QLatin1Char(')'));
    return escaped(isWhole ? help : help + QLatin1Char('.'));
}

/// A tagged paragraph.
void addEntry(QStringList& page, const QString& head, const QString& text)
{
    page << QStringLiteral(".TP") << head << sentence(text);
}

void addOption(QStringList& page, const cSyntax::Parameter& option)
{
    QString text = QString::fromUtf8(option.help);
    if (auto* const* value = std::get_if<QString*>(&option.target)) {
        if (*value && !(*value)->isEmpty())
            text = QStringLiteral("%1 (default: %2)").arg(text, **value);
    }
    addEntry(page, headOf(option), text);
}

/// With the name of the value that another command gives it, where this one has none.
cSyntax::Parameter named(const cDescription& description, const cSyntax::Parameter& option)
{
    for (const cSyntax::Parameter& other : description.allOptions()) {
        if (other.key() == option.key() && option.form[0] == '\0')
            return other;
    }
    return option;
}

/// How a command is called: "VCore [--json] --check", "norvale pack [-o DIR] FOLDER".
QString callOf(const cDescription& description, const cSyntax& command)
{
    QString call = bold(description.program);
    QString own = bold(QString::fromUtf8(command.name));
    QString words;
    for (const cSyntax::Parameter& parameter : command.parameters) {
        const QString value = QString::fromUtf8(parameter.isOption() ? parameter.form : parameter.names.constData());
        if (parameter.isOption() && parameter.key() != command.name)
            call += QStringLiteral(" [") + headOf(named(description, parameter)) + QLatin1Char(']');
        else if (parameter.isOption() && cDescription::hasValue(parameter))
            own += QLatin1Char(' ') + italic(value);
        else if (!parameter.isOption() && !command.isOption() && std::holds_alternative<QStringList*>(parameter.target))
            words += QStringLiteral(" [") + italic(value) + QStringLiteral("...]");
        else if (!parameter.isOption())
            words += QLatin1Char(' ') + italic(value);
    }
    return command.isOption() ? call + QLatin1Char(' ') + own + words
                              : call.insert(bold(description.program).size(), QLatin1Char(' ') + own) + words;
}

void addSubcommand(QStringList& page, const cDescription& description, const cSyntax& command)
{
    page << QStringLiteral(".SS \"%1 %2\"").arg(description.program, QString::fromUtf8(command.name))
         << sentence(QString::fromUtf8(command.help));
    for (const cSyntax::Parameter& parameter : command.parameters) {
        if (parameter.isOption())
            addOption(page, parameter);
        else
            addEntry(page, italic(QString::fromUtf8(parameter.names)), QString::fromUtf8(parameter.help));
    }
    if (command.footer[0] != '\0')
        page << QStringLiteral(".PP")
             << escaped(QString::fromUtf8(command.footer).replace(QLatin1Char('\n'), QLatin1Char(' ')));
}

void addEntries(QStringList& page, const char* section, const QList<cDescription::Entry>& entries)
{
    if (entries.isEmpty())
        return;
    page << QStringLiteral(".SH ") + QLatin1String(section);
    for (const cDescription::Entry& entry : entries)
        addEntry(page, bold(QString::fromUtf8(entry.name)), entry.help);
}

void addCommands(QStringList& page, const cDescription& description)
{
    page << QStringLiteral(".SH COMMANDS");
    if (!description.hasOptionCommands()) {
        for (const cSyntax& command : description.commands)
            addSubcommand(page, description, command);
    }
    bool isCommand = true;
    for (const cSyntax::Parameter& option :
         description.hasOptionCommands() ? description.allOptions() : description.standard) {
        const bool wasCommand = isCommand;
        isCommand = std::any_of(description.commands.begin(), description.commands.end(),
                                [&](const cSyntax& command) { return command.name == option.key(); });
        if (wasCommand && !isCommand)
            page << QStringLiteral(".SH OPTIONS");
        addOption(page, option);
    }
}

} // namespace

QString manualPage(const cDescription& description)
{
    const QString name = description.program;
    QStringList page{
        QStringLiteral(".TH %1 1 \"\" \"%2 %3\"").arg(name.toUpper(), name, description.version),
        QStringLiteral(".SH NAME"),
        QStringLiteral("%1 \\- %2").arg(escaped(name), escaped(cDescription::firstSentence(description.summary))),
        QStringLiteral(".SH SYNOPSIS"),
        QStringLiteral(".nh"),
        QStringLiteral(".ad l")};
    for (const cSyntax& command : description.commands)
        page << callOf(description, command) << QStringLiteral(".br");
    page.removeLast();
    page << QStringLiteral(".ad") << QStringLiteral(".hy") << QStringLiteral(".SH DESCRIPTION")
         << escaped(description.summary);
    addCommands(page, description);
    page << QStringLiteral(".SH \"EXIT STATUS\"");
    for (auto it = description.exitCodes.begin(); it != description.exitCodes.end(); ++it)
        addEntry(page, bold(QString::number(it.key())), it.value());
    addEntries(page, "ENVIRONMENT", description.environment);
    addEntries(page, "FILES", description.files);
    return page.join(QLatin1Char('\n')) + QLatin1Char('\n');
}
