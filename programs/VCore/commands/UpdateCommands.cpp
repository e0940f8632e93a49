// The commands that ask the update sites, and set them.
#include "Diagnostics.h"
#include "commands/Commands.h"
#include "common/Terminal.h"
#include "common/cProgram.h"
#include "updates/UpdateSession.h"

#include <Norvale/IConfigMgr.h>

#include <QtCore/QFileInfo>
#include <QtCore/QJsonArray>
#include <QtCore/QJsonObject>
#include <QtCore/QUrl>

namespace {

/// Asks the update sites for a newer version and shows what they have.
class cCheckCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("--check", "Ask the update sites for a newer version; nothing is changed.");
        addJsonFlag(syntax, &m_isJson);
        m_log.addTo(syntax);
    }

    ExitCode run() override
    {
        ExitCode code = m_log.open(Diagnostics::showReasons);
        if (code == ExitCode::Ok)
            code = initialiseFramework();
        if (code != ExitCode::Ok)
            return code;
        const QJsonObject result = cUpdateSession().check();
        if (m_isJson) {
            answerJson(result);
        } else {
            Terminal::answer(UpdateReport::table(result) + UpdateReport::notes(result));
            Terminal::answer(UpdateReport::checked(result));
            UpdateReport::tellWaiting();
            if (!IConfigMgr::trustState().isPinned)
                Terminal::note(UpdateReport::nothingPinned());
        }
        return UpdateReport::codeOf(result);
    }

private:
    cLogOption m_log;
    bool m_isJson = false;
};

/// Fetches the newest version from the update sites, for the next start to install.
class cUpdateCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("--update", "Fetch the newest version from the update sites; the next start installs it. The "
                                "FEATUREs that are named come in addition. Ctrl+C cancels. A running host goes on "
                                "meanwhile.");
        addJsonFlag(syntax, &m_isJson);
        m_log.addTo(syntax);
        syntax.add("[FEATURE...]", &m_features, "");
        syntax.mostWords = ManyWords;
    }

    ExitCode run() override
    {
        for (const QString& word : qAsConst(m_features)) {
            if (word.startsWith(QLatin1Char('-')))
                return endWith(ExitCode::Usage, QStringLiteral("options stand before the other words: %1").arg(word));
        }
        cChangeLock lock;
        const ExitCode code = beginChange(m_log, lock, &cChangeLock::takeForFetching);
        if (code != ExitCode::Ok)
            return code;
        const QJsonObject result = cUpdateSession().update(m_features);
        if (m_isJson)
            answerJson(result);
        else
            Terminal::answer(UpdateReport::updated(result));
        return UpdateReport::codeOf(result);
    }

private:
    cLogOption m_log;
    bool m_isJson = false;
    QStringList m_features;
};

/// Shows or sets the update sites.
class cSitesCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("--update-sites", "Show the update sites. With URLs (or folders) make these the update sites, "
                                      "asked in this order; with the word \"none\" have none.");
        addJsonFlag(syntax, &m_isJson);
        syntax.add("[URL...]", &m_words, "");
        syntax.mostWords = ManyWords;
    }

    ExitCode run() override
    {
        const bool isNone = m_words == QStringList(QStringLiteral("none"));
        QList<QUrl> sites;
        for (const QString& word : isNone ? QStringList() : m_words) {
            sites.append(urlOf(word));
            if (!sites.last().isValid())
                return endWith(ExitCode::Usage, QStringLiteral("\"%1\" is no URL of a site, and no folder").arg(word));
        }
        Diagnostics::showReasons();
        if (!m_words.isEmpty() && !IConfigMgr::setUpdateLocations(sites))
            return ExitCode::SettingsFailed; // the log has told why
        QStringList urls;
        for (const QUrl& site : IConfigMgr::updateLocations())
            urls.append(site.toString(QUrl::FullyEncoded));
        if (m_isJson)
            answerJson({{QStringLiteral("sites"), QJsonArray::fromStringList(urls)}});
        else if (!urls.isEmpty())
            Terminal::answer(urls);
        else
            Terminal::note(QStringLiteral("no update site is set; VCore --update-sites URL sets one"));
        return ExitCode::Ok;
    }

private:
    // http, https or file, or the path of a folder that is there; invalid when the text is none of these.
    static QUrl urlOf(const QString& text)
    {
        const QFileInfo folder(text);
        if (folder.isDir())
            return QUrl::fromLocalFile(folder.canonicalFilePath());
        const QUrl url(text, QUrl::StrictMode);
        const bool isRemote =
            (url.scheme() == QLatin1String("http") || url.scheme() == QLatin1String("https")) && !url.host().isEmpty();
        return url.isValid() && (isRemote || !url.toLocalFile().isEmpty()) ? url : QUrl();
    }

    QStringList m_words;
    bool m_isJson = false;
};

} // namespace

void addUpdateCommands(cProgram& program)
{
    program.add(std::make_unique<cCheckCommand>());
    program.add(std::make_unique<cUpdateCommand>());
    program.add(std::make_unique<cSitesCommand>());
}
