#include "site/cSiteAddCommand.h"

#include "plugins/ManifestRules.h"
#include "report/cReport.h"
#include "site/cSitePublisher.h"
#include "terminal/Terminal.h"

#include <CLI/CLI.hpp>

CLI::App* cSiteAddCommand::addTo(CLI::App& parent)
{
    m_app = parent.add_subcommand("add", "Publish a feature with its packages, or a runtime");
    m_app->add_option("SITE", m_site, "The site's folder; it is made when it is not there")->required();
    m_app->add_option("PACKAGE", m_packages, "All packages of the feature, as norvale pack makes them");
    addFeatureOptions(*m_app);
    addRepositoryOptions(*m_app);
    m_app->add_flag("--replace", m_mayReplace, "Let a version that is published change (who has it keeps what it has)");
    m_app->footer("Clients meet the old state or the new one, also when the run is cut off; it can be repeated.\n"
                  "Other features and repositories of the site are kept.");
    return m_app;
}

void cSiteAddCommand::addFeatureOptions(CLI::App& app)
{
    const auto list = [&](const char* name, std::vector<std::string>& target, const char* form, const char* help) {
        app.add_option(name, target, help)->type_name(form)->allow_extra_args(false);
    };
    app.add_option("--feature", m_feature, "The feature that the packages make up")->type_name("NAME");
    app.add_option("--feature-version", m_featureVersion, "Its version")->type_name("V");
    list("--display-name", m_displayNames, "LANG=TEXT", "Its name for people, such as en-us=Weather; may repeat");
    list("--depends", m_dependencies, "NAME", "A feature that it needs; may repeat. Empty: none. Default: as before");
    list("--shared", m_shared, "NAME=V",
         "A feature that has some of these plugins too, and gets version V; may repeat");
}

void cSiteAddCommand::addRepositoryOptions(CLI::App& app)
{
    app.add_option("--repository", m_repository, "Default: the one that the site has, else main")->type_name("NAME");
    app.add_option("--repository-version", m_repositoryVersion, "Default: one more than before, first 1.0.0")
        ->type_name("V");
    app.add_option("--status", m_status, "Which installations see it")->type_name("S")->capture_default_str();
    app.add_option("--content", m_content, "Folder of a new repository in the site; default: its name")
        ->type_name("PATH");
    app.add_option("--core-version", m_coreVersion, "Oldest installed version that it can be installed over")
        ->type_name("V");
    app.add_option("--runtime", m_runtime, "The setup program of a runtime")->type_name("FILE");
    app.add_option("--runtime-version", m_runtimeVersion, "Its version")->type_name("V");
}

ExitCode cSiteAddCommand::run()
{
    const QString wrong = complaint();
    if (!wrong.isEmpty())
        return Terminal::reason(wrong), ExitCode::Usage;
    cSitePublisher publisher(addition());
    const ExitCode code = publisher.run();
    cReport::tell(publisher.findings());
    if (!publisher.errorString().isEmpty())
        Terminal::reason(Terminal::printable(publisher.errorString()));
    if (code == ExitCode::Ok)
        Terminal::answer(publisher.summary());
    return code;
}

QString cSiteAddCommand::complaint() const
{
    if (m_feature.empty() != m_packages.empty())
        return QStringLiteral("packages and --feature go together");
    if (m_feature.empty() && m_runtime.empty())
        return QStringLiteral("there is nothing to publish: name packages and --feature, or a --runtime");
    if (m_site.find("://") != std::string::npos)
        return QStringLiteral("a site is changed in its folder, not through a server");
    for (const auto& words : {m_displayNames, m_shared})
        for (const std::string& word : words)
            if (word.find('=') == std::string::npos || word.front() == '=')
                return QStringLiteral("\"%1\" is no NAME=VALUE").arg(text(word));
    QStringList versions;
    if (!m_feature.empty())
        versions.append(text(m_featureVersion));
    if (!m_runtime.empty())
        versions.append(text(m_runtimeVersion));
    versions += pairs(m_shared).values();
    for (const std::string& optional : {m_repositoryVersion, m_coreVersion})
        if (!optional.empty())
            versions.append(text(optional));
    for (const QString& version : qAsConst(versions)) {
        if (version.isEmpty())
            return QStringLiteral("--feature needs --feature-version, --runtime --runtime-version");
        const QString reason = ManifestRules::versionReason(version);
        if (!reason.isEmpty())
            return reason;
    }
    return m_status.empty() ? QStringLiteral("--status is empty") : QString();
}

cSiteAddition cSiteAddCommand::addition() const
{
    cSiteAddition wanted;
    wanted.site = text(m_site);
    wanted.packages = texts(m_packages);
    wanted.feature = text(m_feature);
    wanted.featureVersion = text(m_featureVersion);
    wanted.displayNames = pairs(m_displayNames);
    if (m_app->count("--depends") > 0) {
        QStringList names = texts(m_dependencies);
        names.removeAll(QString());
        wanted.dependencies = names;
    }
    wanted.shared = pairs(m_shared);
    wanted.repository = text(m_repository);
    wanted.repositoryVersion = text(m_repositoryVersion);
    wanted.status = text(m_status);
    if (m_app->count("--content") > 0)
        wanted.content = text(m_content);
    wanted.coreVersion = text(m_coreVersion);
    wanted.runtime = text(m_runtime);
    wanted.runtimeVersion = text(m_runtimeVersion);
    wanted.mayReplace = m_mayReplace;
    return wanted;
}

QMap<QString, QString> cSiteAddCommand::pairs(const std::vector<std::string>& words)
{
    QMap<QString, QString> pairs;
    for (const std::string& word : words) {
        const size_t middle = word.find('=');
        pairs.insert(text(word.substr(0, middle)),
                     middle == std::string::npos ? QString() : text(word.substr(middle + 1)));
    }
    return pairs;
}
