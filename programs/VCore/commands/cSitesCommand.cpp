#include "commands/cSitesCommand.h"

#include "terminal/Terminal.h"
#include "updates/UpdateSites.h"

#include <QtCore/QCommandLineParser>
#include <QtCore/QUrl>

namespace {

const QString None = QStringLiteral("none");

bool readSites(const QStringList& words, QList<QUrl>* sites)
{
    for (const QString& word : words) {
        const QUrl url = UpdateSites::urlOf(word);
        if (!url.isValid()) {
            Terminal::reason(QStringLiteral("\"%1\" is no URL of a site, and no folder").arg(word));
            return false;
        }
        sites->append(url);
    }
    return true;
}

} // namespace

QCommandLineOption cSitesCommand::option() const
{
    return {QStringLiteral("update-sites"),
            QStringLiteral("Show the update sites. With URLs (or folders) make these the update sites, asked in this "
                           "order; with the word \"none\" have none.")};
}

ExitCode cSitesCommand::run(const QCommandLineParser& line)
{
    const QStringList words = line.positionalArguments();
    QList<QUrl> sites;
    if (words != QStringList{None} && !readSites(words, &sites))
        return ExitCode::Usage;
    if (!words.isEmpty() && !UpdateSites::set(sites)) {
        Terminal::reason(QStringLiteral("the settings cannot be written"));
        return ExitCode::SettingsFailed;
    }
    for (const QString& site : UpdateSites::list())
        Terminal::answer(site);
    return ExitCode::Ok;
}
