// The commands that run the suite, and that say which plugins take part.
#include "Diagnostics.h"
#include "cHostRun.h"
#include "commands/Commands.h"
#include "common/Terminal.h"
#include "common/cProgram.h"
#include "guard/PluginChoice.h"

#include <Norvale/IPluginMgr.h>
#include <Norvale/cLogCentral.h>

#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>

namespace {

/// Starts the suite, serves it until it is asked to stop, and stops it.
class cRunCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("--run", "Start the suite and serve it until Ctrl+C, SIGTERM or a client's QUIT; this is what "
                             "is done when no other command is given.");
        syntax.add("--categories", &m_categories,
                   "Load the plugins of these load categories, in this order, beside what loads anyway.", "a,b");
        syntax.add("--without", &m_without,
                   "Leave these plugins out, and what depends on them. May be given several times.", "NAME");
        syntax.add("[NAME...]", &m_words, ""); // further ones of --without
        syntax.mostWords = ManyWords;
        syntax.add("--safe", &m_options.plugins.isSafe,
                   "Start only the settings, what is named \"Core\", and what these need.");
        syntax.add("--no-guard", &m_isUnguarded,
                   "Neither tell nor note which plugin ends a run, watch for plugins that hang, or write reports.");
        syntax.add("--start-only", &m_options.isStartOnly, "Stop and end as soon as the suite has been started.");
        syntax.add("--verbose", &m_isVerbose,
                   "Show the information of the log, too, such as which plugin is about to be loaded or started.");
        m_log.addTo(syntax);
        syntax.add("--trace", &m_options.tracePath,
                   "Write a Chrome trace of start-up and stop to FILE as they go, readable also after a crash.",
                   "FILE");
    }

    ExitCode run() override
    {
        if (m_without.isEmpty() && !m_words.isEmpty())
            return endWith(ExitCode::Usage, QStringLiteral("\"%1\" is not understood").arg(m_words.first()));
        for (const QString& word : m_words) {
            if (word.startsWith(QLatin1Char('-')))
                return endWith(ExitCode::Usage, QStringLiteral("options stand before the names, \"%1\" too").arg(word));
        }
        // Who asks for it gets it, also where the user's settings switch it off; these stay as they are.
        if (m_isVerbose)
            cLogCentral::log(QStringLiteral("PluginMgr")).enable();
        const ExitCode code = m_log.open(m_isVerbose ? Diagnostics::showLog : Diagnostics::showReasons);
        if (code != ExitCode::Ok)
            return code;
        m_options.plugins.categories = PluginChoice::namesIn({m_categories});
        m_options.plugins.without = PluginChoice::namesIn(m_without + m_words);
        m_options.plugins.isGuarded = !m_isUnguarded;
        return cHostRun(m_options).run();
    }

private:
    cLogOption m_log;
    cHostRun::Options m_options;
    QString m_categories;
    QStringList m_without;
    QStringList m_words;
    bool m_isUnguarded = false;
    bool m_isVerbose = false;
};

/// What the commands have in common that change which plugins are disabled.
class cNamesCommand : public cCommand
{
public:
    ExitCode run() final
    {
        Diagnostics::showReasons();
        const ExitCode code = initialiseFramework();
        return code == ExitCode::Ok ? change(PluginChoice::namesIn(m_names)) : code;
    }

protected:
    virtual ExitCode change(const QStringList& names) = 0;

    void addNames(cSyntax& syntax, const char* name, const char* help)
    {
        syntax.call(name, help, &m_names, "NAME");
        addJsonFlag(syntax, &m_isJson);
        syntax.add("[NAME...]", &m_names, "");
        syntax.mostWords = ManyWords;
    }

    ExitCode done(bool isDone, const QString& what, const QStringList& names, const QString& error) const
    {
        if (!isDone)
            return endWith(ExitCode::SettingsFailed, error);
        if (m_isJson)
            answerJson({{QStringLiteral("disabled"), QJsonArray::fromStringList(PluginChoice::disabled())}});
        else if (!names.isEmpty())
            Terminal::answer(what.arg(names.join(QStringLiteral(", "))));
        return ExitCode::Ok;
    }

    bool isJson() const { return m_isJson; }

private:
    QStringList m_names;
    bool m_isJson = false;
};

/// Leaves plugins out of every start.
class cDisableCommand : public cNamesCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        addNames(syntax, "--disable",
                 "Leave these plugins, and what depends on them, out of every start, until they are enabled.");
    }

protected:
    ExitCode change(const QStringList& names) override
    {
        IPluginMgr::instance()->discover();
        QStringList installed;
        for (const cPluginInfo& plugin : IPluginMgr::instance()->plugins())
            installed.append(plugin.name);
        for (const QString& name : names) {
            if (!installed.contains(name)) {
                return endWith(
                    ExitCode::UnknownPlugin,
                    QStringLiteral("no plugin \"%1\" is installed; VCore --list shows those that are").arg(name));
            }
        }
        QString error;
        const bool isDone = PluginChoice::disable(names, &error);
        return done(isDone, QStringLiteral("Disabled: %1. It counts from the next start."), names, error);
    }
};

/// Undoes it.
class cEnableCommand : public cNamesCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        addNames(syntax, "--enable", "Let plugins that are disabled take part again.");
    }

protected:
    ExitCode change(const QStringList& names) override
    {
        const QStringList disabled = PluginChoice::disabled();
        QStringList enabled;
        for (const QString& name : names) {
            if (disabled.contains(name))
                enabled.append(name);
            else if (!isJson())
                Terminal::answer(QStringLiteral("The plugin \"%1\" is not disabled.").arg(name));
        }
        QString error;
        const bool isDone = PluginChoice::enable(enabled, &error);
        return done(isDone, QStringLiteral("Enabled: %1. It counts from the next start."), enabled, error);
    }
};

} // namespace

void addRunCommands(cProgram& program)
{
    program.add(std::make_unique<cRunCommand>());
    program.add(std::make_unique<cDisableCommand>());
    program.add(std::make_unique<cEnableCommand>());
}
