#include "common/cProgram.h"

#include "common/Suggestion.h"
#include "common/Terminal.h"

#include <CLI/CLI.hpp>
#include <QtCore/QCoreApplication>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <new>
#include <sstream>

namespace {

constexpr char NoMemoryText[] = "there is not enough memory for this";

std::terminate_handler s_otherEnd = nullptr;

// Where nobody catches what is thrown: in a thread, or on the way out of what must not throw.
void onTerminate()
{
    try {
        if (std::current_exception())
            std::rethrow_exception(std::current_exception());
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "%s\n", NoMemoryText);
        std::_Exit(int(ExitCode::NoMemory));
    } catch (...) {
    }
    s_otherEnd();
    std::abort();
}

/// While it lives, Qt's own messages are printable as well: they name files and elements from outside.
class cTameMessages
{
public:
    cTameMessages() { s_other = qInstallMessageHandler(show); }
    ~cTameMessages() { qInstallMessageHandler(s_other); }

private:
    static void show(QtMsgType type, const QMessageLogContext& context, const QString& text)
    {
        s_other(type, context, Terminal::printable(text));
    }

    static QtMessageHandler s_other;
};

QtMessageHandler cTameMessages::s_other = nullptr;

// In the order of Terminal::Colors.
const QStringList ColorWords{QStringLiteral("auto"), QStringLiteral("always"), QStringLiteral("never")};

// What goes with every command; the help, its long form, and the version are the parser's own.
const cSyntax::Parameter Help{"-h,-?,--help", static_cast<bool*>(nullptr), "Print this help and exit", ""};
const cSyntax::Parameter HelpAll{"--help-all", static_cast<bool*>(nullptr), "Print all help and exit", ""};
const cSyntax::Parameter Version{"-v,--version", static_cast<bool*>(nullptr), "Print the version and exit", ""};
const cSyntax::Parameter Color{"--color", static_cast<QString*>(nullptr),
                               "Colour headings, states and levels: where standard output or error is a terminal that "
                               "has colours (auto, unless NO_COLOR is set), always or never.",
                               "auto|always|never"};

constexpr char Guard = '\0';           // no argument holds one
constexpr const char Words[] = "WORD"; // all words, where commands are options

// The parser takes arguments from the end. Behind "=" it would look for an empty value in the next argument, and take
// what stands in brackets for a list, unless something follows.
std::vector<std::string> guarded(const QStringList& arguments)
{
    std::vector<std::string> words;
    for (int i = arguments.size() - 1; i > 0; --i) {
        words.push_back(arguments.at(i).toStdString());
        if (arguments.at(i).endsWith(QLatin1Char('=')) || arguments.at(i).endsWith(QLatin1Char(']')))
            words.back() += Guard;
    }
    return words;
}

QString unguarded(std::string value)
{
    if (!value.empty() && value.back() == Guard)
        value.pop_back();
    return value.empty() ? QLatin1String("") : QString::fromStdString(value);
}

// In lines that fit beside the names, which take 30 columns of 80.
std::string wrapped(const QString& help)
{
    constexpr int Width = 50;
    QString text;
    int column = 0;
    for (const QString& word : help.split(QLatin1Char(' '))) {
        const bool isFull = column > 0 && column + 1 + word.size() > Width;
        if (column > 0)
            text += QLatin1Char(isFull ? '\n' : ' ');
        column = isFull || column == 0 ? word.size() : column + 1 + word.size();
        text += word;
    }
    return text.toStdString();
}

void takeOneOf(CLI::Option& option, const QStringList& words)
{
    const std::string said = words.join(QStringLiteral(", ")).toStdString();
    const auto refuse = [words, said](const std::string& value) {
        return words.contains(QString::fromStdString(value)) ? std::string() : "\"" + value + "\" is none of " + said;
    };
    option.check(refuse);
}

// As soon as it is read, so that also what is wrong behind it is told with it.
void setColors(const std::string& word)
{
    Terminal::setColors(Terminal::Colors(qMax(0, ColorWords.indexOf(QString::fromStdString(word)))));
}

void addStandardOptions(CLI::App& app)
{
    const std::string colors = wrapped(QString::fromUtf8(Color.help));
    CLI::Option* const color = app.add_option_function<std::string>(Color.names.toStdString(), setColors, colors);
    color->type_name(Color.form)->trigger_on_parse()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    takeOneOf(*color, ColorWords);
    app.set_help_flag(Help.names.toStdString(), Help.help);
    app.set_help_all_flag(HelpAll.names.toStdString(), HelpAll.help);
    app.set_version_flag(Version.names.toStdString(),
                         app.get_name() + ' ' + QCoreApplication::applicationVersion().toStdString(), Version.help);
}

void addParameter(CLI::App& app, const cSyntax::Parameter& parameter)
{
    const std::string names = parameter.names.toStdString();
    const std::string help = wrapped(QString::fromUtf8(parameter.help));
    if (std::holds_alternative<bool*>(parameter.target)) {
        app.add_flag(names, help);
        return;
    }
    CLI::Option* const option = app.add_option(names, CLI::callback_t(), help);
    option->type_name(parameter.form);
    if (!cDescription::wordsOf(parameter).isEmpty())
        takeOneOf(*option, cDescription::wordsOf(parameter));
    if (std::holds_alternative<QStringList*>(parameter.target))
        option->expected(CLI::detail::expected_max_vector_size)->allow_extra_args(!parameter.isOption());
    else if (parameter.isOption())
        option->default_str(std::get<QString*>(parameter.target)->toStdString());
    else
        option->required();
}

// Options that several commands have are one option of the program; so are the words.
void addOptionCommands(CLI::App& app, const QList<cSyntax>& syntaxes)
{
    QStringList uses;
    for (const cSyntax& syntax : syntaxes) {
        for (const cSyntax::Parameter& parameter : syntax.parameters) {
            const std::string key = parameter.key().toStdString();
            if (!parameter.isOption()) {
                uses.append(QStringLiteral("%1 %2").arg(QString(syntax.name), QString(parameter.names)));
            } else if (!app.get_option_no_throw(key)) {
                addParameter(app, parameter);
                CLI::Option* const option = app.get_option(key);
                option->multi_option_policy(CLI::MultiOptionPolicy::TakeLast)->disable_flag_override();
                option->group(parameter.key() == syntax.name ? "Commands" : "Options");
            }
        }
    }
    app.add_option(Words, CLI::callback_t(), wrapped(QStringLiteral("With ") + uses.join(QStringLiteral(", with "))))
        ->expected(CLI::detail::expected_max_vector_size);
    app.positionals_at_end();
}

// The first command, unless the option of another one is given.
int pickOptionCommand(const CLI::App& app, const QList<cSyntax>& syntaxes, QString* error)
{
    int picked = -1;
    for (int i = 0; i < syntaxes.size(); ++i) {
        if (app.count(syntaxes.at(i).name.toStdString()) == 0)
            continue;
        if (picked >= 0) {
            *error = QStringLiteral("%1 and %2 exclude each other")
                         .arg(QString(syntaxes.at(picked).name), QString(syntaxes.at(i).name));
        }
        picked = i;
    }
    return qMax(picked, 0);
}

QString strayWord(const CLI::App& app, const QString& word)
{
    QStringList names;
    for (const CLI::Option* const option : app.get_options())
        names.append(QString::fromStdString(option->get_name()));
    return QStringLiteral("\"%1\" is not understood%2").arg(word, suggestionFor(word, names));
}

// What is given beside the command and does not go with it; empty when all does.
QString errorOf(const CLI::App& app, const cSyntax& syntax)
{
    const QString name = syntax.name;
    for (const CLI::Option* const option : app.get_options()) {
        const QByteArray key = QByteArray::fromStdString(option->get_name());
        const bool isOurs = std::any_of(syntax.parameters.begin(), syntax.parameters.end(),
                                        [&](const cSyntax::Parameter& parameter) { return parameter.key() == key; });
        if (option->count() > 0 && option->nonpositional() && !isOurs && key != Color.names)
            return QStringLiteral("%1 does not go with %2").arg(QString(key), name);
    }
    const std::vector<std::string> words = app.get_option(Words)->results();
    if (int(words.size()) < syntax.leastWords)
        return QStringLiteral("%1 takes at least %2").arg(name, Terminal::counted(syntax.leastWords, "argument"));
    if (int(words.size()) > syntax.mostWords)
        return strayWord(app, unguarded(words.at(size_t(syntax.mostWords))));
    return QString();
}

CLI::App* addWord(CLI::App& app, const QByteArray& name, const QString& help)
{
    CLI::App* parent = &app;
    QList<QByteArray> words = name.split(' ');
    const QByteArray last = words.takeLast();
    for (const QByteArray& group : qAsConst(words))
        parent = parent->get_subcommand(group.toStdString());
    return parent->add_subcommand(last.toStdString(), help.toStdString());
}

CLI::App* addSubcommand(CLI::App& app, const cSyntax& syntax)
{
    CLI::App* const command = addWord(app, syntax.name, QString::fromUtf8(syntax.help));
    command->footer(syntax.footer);
    for (const cSyntax::Parameter& parameter : syntax.parameters)
        addParameter(*command, parameter);
    return command;
}

QString codeTable(const QMap<int, QString>& codes)
{
    QStringList lines;
    for (auto it = codes.begin(); it != codes.end(); ++it)
        lines.append(QStringLiteral("  %1  %2").arg(it.key(), 2).arg(it.value()));
    return lines.join(QLatin1Char('\n'));
}

cStyledLines styledHelp(const QString& help)
{
    cStyledLines lines;
    for (const QString& line : help.split(QLatin1Char('\n'))) {
        const bool isHeading = line.endsWith(QLatin1Char(':')) && !line.startsWith(QLatin1Char(' '));
        lines.append({line, isHeading ? Style::Heading : Style::Plain});
    }
    return lines;
}

// Gives the variables of @p syntax what @p app has read.
void deliver(const CLI::App& app, const cSyntax& syntax)
{
    for (const cSyntax::Parameter& parameter : syntax.parameters) {
        const bool isMerged = syntax.isOption() && !parameter.isOption();
        const CLI::Option* const option = app.get_option(isMerged ? Words : parameter.key().toStdString());
        if (option->count() == 0)
            continue;
        if (auto* const flag = std::get_if<bool*>(&parameter.target)) {
            if (*flag)
                **flag = option->as<bool>();
        } else if (auto* const text = std::get_if<QString*>(&parameter.target)) {
            **text = unguarded(option->results().back());
        } else {
            for (const std::string& value : option->results())
                std::get<QStringList*>(parameter.target)->append(unguarded(value));
        }
    }
}

} // namespace

cProgram::cProgram(const char* description)
{
    m_description.program = QCoreApplication::applicationName();
    m_description.version = QCoreApplication::applicationVersion();
    m_description.summary = QString::fromUtf8(description);
    m_description.standard = {Color, Help, HelpAll, Version};
    m_description.exitCodes = exitCodes();
    addVariable("NO_COLOR", "When it is set and not empty, nothing is coloured, unless --color says otherwise.");
}

void cProgram::addVariable(const char* name, const char* help)
{
    m_description.environment.append({name, QString::fromUtf8(help)});
}

void cProgram::addFile(const char* name, const char* help)
{
    m_description.files.append({name, QString::fromUtf8(help)});
}

void cProgram::add(std::unique_ptr<cCommand> command)
{
    cSyntax syntax;
    command->describe(syntax);
    m_description.commands.append(syntax);
    m_commands.push_back(std::move(command));
}

ExitCode cProgram::run(const QStringList& arguments)
{
    s_otherEnd = std::set_terminate(onTerminate);
    const cTameMessages tame;
    try {
        return readAndRun(arguments);
    } catch (const std::bad_alloc&) {
        return endWith(ExitCode::NoMemory, QLatin1String(NoMemoryText)); // what was taken so far is given back by now
    }
}

ExitCode cProgram::readAndRun(const QStringList& arguments)
{
    // For the build, which makes the pages that are installed, under the name that the program has there.
    if (arguments.size() == 4 && arguments.at(1) == QLatin1String("--describe"))
        return describe(arguments.at(2), arguments.at(3));
    CLI::App app(m_description.summary.toStdString(), m_description.program.toStdString());
    app.allow_windows_style_options(false);
    app.footer("Exit codes:\n" + codeTable(m_description.exitCodes).toStdString());
    QString error;
    int picked = 0;
    try {
        const bool isOption = m_description.hasOptionCommands();
        picked = isOption ? readOptionCommand(app, arguments, &error) : readSubcommand(app, arguments);
    } catch (const CLI::Success& request) { // for the help or the version
        std::ostringstream answer;
        app.exit(request, answer, answer);
        Terminal::answer(styledHelp(QString::fromStdString(answer.str()).trimmed()));
        return ExitCode::Ok;
    } catch (const CLI::Error& refusal) {
        error = unknownIn(arguments, m_description);
        if (error.isEmpty())
            error = QString::fromUtf8(refusal.what());
    }
    if (error.isEmpty())
        return m_commands.at(size_t(picked))->run();
    Terminal::error(error);
    Terminal::note(QStringLiteral("%1 --help tells what is understood").arg(QCoreApplication::applicationName()));
    return ExitCode::Usage;
}

int cProgram::readOptionCommand(CLI::App& app, const QStringList& arguments, QString* error) const
{
    app.set_help_flag(); // its place is behind the commands
    addOptionCommands(app, m_description.commands);
    addStandardOptions(app);
    app.parse(guarded(arguments));
    const int picked = pickOptionCommand(app, m_description.commands, error);
    if (error->isEmpty())
        *error = errorOf(app, m_description.commands.at(picked));
    if (error->isEmpty())
        deliver(app, m_description.commands.at(picked));
    return picked;
}

int cProgram::readSubcommand(CLI::App& app, const QStringList& arguments) const
{
    addStandardOptions(app);
    app.fallthrough();
    app.require_subcommand(1);
    for (const cDescription::Entry& group : m_description.groups)
        addWord(app, group.name, group.help)->require_subcommand(1);
    QList<CLI::App*> commands;
    for (const cSyntax& syntax : m_description.commands)
        commands.append(addSubcommand(app, syntax));
    app.parse(guarded(arguments));
    int picked = 0;
    while (!commands.at(picked)->parsed())
        ++picked;
    deliver(*commands.at(picked), m_description.commands.at(picked));
    return picked;
}

ExitCode cProgram::describe(const QString& folder, const QString& name) const
{
    cDescription named = m_description;
    named.program = name;
    QString error;
    return writePages(named, folder, &error) ? ExitCode::Ok : endWith(ExitCode::Usage, error);
}
