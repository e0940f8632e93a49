#include "Commands.h"
#include "common/cProgram.h"
#include "config/cTrustDownload.h"
#include "disk/WholeFiles.h"
#include "report/cFindings.h"
#include "trust/cTargetFetch.h"
#include "trust/cTrustClient.h"

#include <QtCore/QDir>
#include <QtCore/QJsonArray>

namespace {

/// A client of signed metadata by itself: what an installation does with what it pinned, for any folder and site.
class cTrustCommand : public cCommand
{
public:
    void describe(cSyntax& syntax) override
    {
        syntax.call("trust", "Follow signed metadata, and fetch what it vouches for");
        syntax.add("ACTION", &m_action,
                   "init takes ROOT as what is trusted; refresh fetches newer metadata and verifies it; download does "
                   "that, and fetches targets",
                   "init|refresh|download");
        syntax.add("ROOT", &m_roots, "With init: the file of the root metadata to begin with");
        syntax.add("--metadata-dir", &m_metadataFolder, "The folder of the metadata that is trusted", "DIR");
        syntax.add("--metadata-url", &m_metadataUrl, "Where newer metadata comes from: a URL, or a folder", "URL");
        syntax.add("--target-name", &m_targets, "The path of a target; may be repeated", "PATH");
        syntax.add("--target-base-url", &m_targetUrl, "What the paths of targets begin at: a URL, or a folder", "URL");
        syntax.add("--target-dir", &m_targetFolder, "The folder that targets are fetched into", "DIR");
        m_report.addJsonOption(syntax);
        syntax.footer = "The metadata is that of The Update Framework 1.0. What is refused changes nothing that is "
                        "trusted.\nThe file of a target has its path as its name, percent-encoded.";
    }

    ExitCode run() override
    {
        const QString missing = missingOption();
        if (!missing.isEmpty())
            return m_report.fail(ExitCode::Usage, missing);
        cTrustClient client(m_metadataFolder);
        if (m_action == QLatin1String("init"))
            return begin(client);
        cDownloader downloader;
        downloader.setLeastRate(cTransfer::DefaultLeastRate, RateWindow);
        cTrustDownload source(urlOf(m_metadataUrl), downloader);
        if (!client.refresh(source))
            return m_report.fail(ExitCode::Faults, client.errorString());
        return m_action == QLatin1String("refresh") ? answer(client, {}) : download(client, source);
    }

private:
    /// Metadata is small: who sends it slowly has no other reason than to keep this client from it. In milliseconds.
    static constexpr int RateWindow = 60000;

    static QUrl urlOf(const QString& place)
    {
        return QUrl::fromUserInput(place, QDir::currentPath(), QUrl::AssumeLocalFile);
    }

    QString missingOption() const
    {
        const QLatin1String init("init");
        const QLatin1String download("download");
        if (m_metadataFolder.isEmpty())
            return QStringLiteral("--metadata-dir says where the trusted metadata lies");
        if (m_action == init && m_roots.size() != 1)
            return QStringLiteral("init takes the file of one root");
        if (m_action != init && !m_roots.isEmpty())
            return QStringLiteral("\"%1\" does not go with %2").arg(m_roots.first(), m_action);
        if (m_action != init && m_metadataUrl.isEmpty())
            return QStringLiteral("--metadata-url says where newer metadata comes from");
        if (m_action == download && (m_targets.isEmpty() || m_targetUrl.isEmpty() || m_targetFolder.isEmpty()))
            return QStringLiteral("download takes --target-name, --target-base-url and --target-dir");
        return QString();
    }

    ExitCode begin(cTrustClient& client) const
    {
        QByteArray root;
        QString reason;
        if (!readFile(m_roots.first(), root, &reason))
            return m_report.fail(ExitCode::Faults,
                                 QStringLiteral("%1 cannot be read: %2").arg(m_roots.first(), reason));
        return client.trust(root) ? answer(client, {}) : m_report.fail(ExitCode::Faults, client.errorString());
    }

    ExitCode download(cTrustClient& client, cTrustDownload& source) const
    {
        QJsonArray targets;
        cTargetFetch fetch(urlOf(m_targetUrl), client.set().root()->isConsistentSnapshot(), m_targetFolder);
        for (const QString& path : m_targets) {
            const std::optional<cTrustTarget> target = client.find(path, source);
            if (!target)
                return m_report.fail(ExitCode::Faults, client.errorString());
            if (!fetch.fetch(*target))
                return m_report.fail(ExitCode::Faults, fetch.errorString());
            targets.append(
                QJsonObject{{QStringLiteral("path"), path},
                            {QStringLiteral("state"), QLatin1String(fetch.wasThere() ? "already there" : "fetched")}});
        }
        return answer(client, targets);
    }

    /// Tells what is trusted by now, and until when, and each of @p targets.
    ExitCode answer(const cTrustClient& client, const QJsonArray& targets) const
    {
        const cTrustedSet& set = client.set();
        cStyledLines lines;
        QJsonObject metadata;
        for (const cTrustMetadata* document :
             {set.root(), set.timestamp(), set.snapshot(), set.targets(QStringLiteral("targets"))}) {
            if (!document)
                continue;
            const QString role = cTrustMetadata::nameOf(document->type());
            const QString expires = document->expires().toString(Qt::ISODate);
            metadata.insert(role, QJsonObject{{QStringLiteral("version"), document->version()},
                                              {QStringLiteral("expires"), expires}});
            lines.append(QStringLiteral("%1: version %2, until %3").arg(role).arg(document->version()).arg(expires));
        }
        for (const QJsonValue& target : targets)
            lines.append(QStringLiteral("%1: %2").arg(target[QLatin1String("path")].toString(),
                                                      target[QLatin1String("state")].toString()));
        return m_report.end(ExitCode::Ok, {}, QString(), lines,
                            {{QStringLiteral("metadata"), metadata}, {QStringLiteral("targets"), targets}});
    }

    cReport m_report;
    QString m_action;
    QStringList m_roots;
    QString m_metadataFolder;
    QString m_metadataUrl;
    QStringList m_targets;
    QString m_targetUrl;
    QString m_targetFolder;
};

} // namespace

void addTrustCommand(cProgram& program)
{
    program.add(std::make_unique<cTrustCommand>());
}
