// The command that finds which plugins break the suite.
#include "commands/Commands.h"
#include "common/Terminal.h"
#include "common/cProgram.h"
#include "guard/PluginChoice.h"
#include "guard/cSuiteTrial.h"
#include "updates/UpdateSession.h"

#include <Norvale/IPluginMgr.h>

#include <QtCore/QJsonArray>

#include <algorithm>
#include <limits>

namespace {

/// Finds the plugins that break the suite.
class cBisectCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("--bisect",
                    "Name the plugin, or the fewest plugins, that break the start, by starting the suite in processes "
                    "of its own with others left out. With a COMMAND (behind --) it judges the running suite: 0 is "
                    "good, 125 cannot tell, all else is bad.");
        syntax.add("--categories", &m_categories, "", "");
        syntax.add("--without", &m_without, "", "");
        syntax.add("--timeout", &m_timeout, "", "");
        syntax.add("[-- COMMAND ARG...]", &m_options.command, "");
        syntax.mostWords = ManyWords;
        addJsonFlag(syntax, &m_isJson);
        m_log.addTo(syntax);
    }

    ExitCode run() override
    {
        ExitCode code = readOptions();
        if (code == ExitCode::Ok)
            code = prepare();
        if (code != ExitCode::Ok)
            return code;
        const QList<cCulpritSearch::Candidate> candidates = findCandidates();
        cSuiteTrial trial(m_options);
        cCulpritSearch search(candidates, [&](const QStringList& leftOut) {
            const int taken = candidates.size() - leftOut.size();
            const QString start = QStringLiteral("start %1: %2 of %3 ... ")
                                      .arg(++m_starts)
                                      .arg(taken)
                                      .arg(Terminal::counted(candidates.size(), "plugin"));
            Terminal::status(start);
            const std::optional<cCulpritSearch::Verdict> verdict = trial.run(leftOut);
            Terminal::status(QString());
            if (verdict)
                Terminal::note(start + trial.finding());
            return verdict;
        });
        const cCulpritSearch::Result result = search.run();
        answer(result, search.culprits());
        return result == cCulpritSearch::Ended ? trial.code() : codeOf(result);
    }

private:
    static ExitCode codeOf(cCulpritSearch::Result result)
    {
        if (result == cCulpritSearch::Found)
            return ExitCode::CulpritFound;
        return result == cCulpritSearch::NeverBreaks ? ExitCode::NothingBreaks : ExitCode::CulpritNotFound;
    }

    ExitCode readOptions()
    {
        int milliseconds = 0;
        if (!readTimeout(m_timeout, &milliseconds))
            return ExitCode::Usage;
        m_options.seconds = qMax(1, milliseconds / 1000);
        m_options.categories = PluginChoice::namesIn({m_categories});
        m_options.without = PluginChoice::namesIn(m_without);
        m_options.logPath = m_log.path();
        m_options.isQuiet = m_isJson;
        return ExitCode::Ok;
    }

    // Refuses beside a running host. What waits is installed before, since each start would.
    ExitCode prepare()
    {
        cChangeLock lock;
        const ExitCode code = beginChange(m_log, lock, &cChangeLock::takeForInstalling);
        if (code == ExitCode::Ok)
            (void)installWaiting(m_isJson);
        return code;
    }

    // All that are installed and not left out anyway: what no start loads by itself, a plugin may ask for.
    QList<cCulpritSearch::Candidate> findCandidates()
    {
        IPluginMgr* const manager = IPluginMgr::instance();
        manager->leaveOut(PluginChoice::disabled() + m_options.without);
        manager->discover(); // what is faulty is logged
        QList<cPluginInfo> plugins = manager->plugins();
        const auto place = [](const cPluginInfo& plugin) {
            return plugin.order > 0 ? plugin.order : std::numeric_limits<int>::max();
        };
        std::stable_sort(plugins.begin(), plugins.end(),
                         [&](const cPluginInfo& a, const cPluginInfo& b) { return place(a) < place(b); });
        QList<cCulpritSearch::Candidate> candidates;
        for (const cPluginInfo& plugin : plugins) {
            if (!plugin.leftOut.isEmpty())
                continue;
            candidates.append({plugin.name, PluginChoice::dependenciesOf(plugin)});
            m_ids.insert(plugin.name, plugin.name + QLatin1Char('-') + plugin.version.toString());
        }
        return candidates;
    }

    void answer(cCulpritSearch::Result result, const QStringList& culprits) const
    {
        const char* const results[] = {"found",     "does not break", "breaks without any plugin",
                                       "not found", "cannot be told", "ended"};
        if (m_isJson) {
            const QJsonObject object{{QStringLiteral("result"), QLatin1String(results[result])},
                                     {QStringLiteral("plugins"), QJsonArray::fromStringList(culprits)},
                                     {QStringLiteral("starts"), m_starts}};
            answerJson(object);
        } else if (result != cCulpritSearch::Ended) {
            Terminal::answer(textOf(result, culprits));
        }
    }

    QString textOf(cCulpritSearch::Result result, const QStringList& culprits) const
    {
        switch (result) {
        case cCulpritSearch::Found:
            break;
        case cCulpritSearch::NeverBreaks:
            return QStringLiteral("The suite does not break: it is good with %1.")
                .arg(Terminal::counted(m_ids.size(), "plugin"));
        case cCulpritSearch::AlwaysBreaks:
            return QStringLiteral("The suite breaks without any plugin, too, so it is none of them. VCore --verify "
                                  "tells whether it is installed as it was.");
        case cCulpritSearch::CannotBeTold:
            return QStringLiteral("The command cannot tell with all plugins, so that nothing can be found by it.");
        default:
            return QStringLiteral("No plugin can be named: the suite does not break in the same way each time.");
        }
        QStringList ids;
        for (const QString& name : culprits)
            ids.append(m_ids.value(name));
        const QString last = ids.takeLast();
        const QString who = ids.isEmpty() ? QStringLiteral("%1 breaks the suite.").arg(last)
                                          : QStringLiteral("%1 and %2 break the suite, but only together.")
                                                .arg(ids.join(QStringLiteral(", ")), last);
        return who + QStringLiteral(" VCore --run --without %1 starts without it, VCore --disable %1 leaves it out of "
                                    "every start; should that break as well, bisect again.")
                         .arg(culprits.last());
    }

    cLogOption m_log;
    cSuiteTrial::Options m_options;
    QString m_categories;
    QStringList m_without;
    QString m_timeout = QStringLiteral("60");
    bool m_isJson = false;
    QMap<QString, QString> m_ids; // by name
    int m_starts = 0;
};

} // namespace

void addBisectCommand(cProgram& program)
{
    program.add(std::make_unique<cBisectCommand>());
}
