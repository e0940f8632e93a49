#include "site/cSiteEditor.h"

#include "config/cCatalogueReader.h"
#include "lint/InputFile.h"
#include "lint/cCatalogueLint.h"
#include "lint/cPackageLint.h"
#include "signing/cSigningRun.h"
#include "suite/cSuite.h"
#include "suite/cSuiteReader.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QSet>

#include <algorithm>

ExitCode cSiteEditor::run(const cReport& report)
{
    const ExitCode code = change();
    return report.end(code, m_findings, m_errorString, lines(), json());
}

ExitCode cSiteEditor::change()
{
    const ExitCode code = m_files.begin(m_place.site);
    return code == ExitCode::Ok ? changeRepository() : fail(code, m_files.errorString());
}

ExitCode cSiteEditor::changeRepository()
{
    if (!m_state.read(m_place))
        return fail(m_state.errorString());
    if (!m_retired.read(m_state.folder()))
        return fail(m_retired.errorString());
    m_edit.begin();
    const ExitCode code = edit();
    if (code != ExitCode::Ok)
        return code;
    if (!isResultSound())
        return ExitCode::Faults;
    if (!write())
        return ExitCode::WriteFailed;
    const ExitCode signing = sign();
    if (signing != ExitCode::Ok)
        return signing;
    m_files.keep();
    if (m_signer)
        m_signer->tidy();
    removeExpired();
    return ExitCode::Ok;
}

bool cSiteEditor::readPackage(const QString& path, cNewFile* package)
{
    package->path = path;
    cPackageLint lint(path, m_findings);
    if (!readInputFile(path, LargestFile, &package->bytes, m_findings) || !lint.check(package->bytes) ||
        m_findings.hasErrors())
        return false;
    package->size = package->bytes.size();
    package->hash = sha1Of(package->bytes);
    package->id = cPluginId(lint.name(), lint.version());
    package->manifest = lint.manifest();
    package->qtMajors = lint.qtMajors();
    return true;
}

// What was wrong before keeps nobody from mending something else.
bool cSiteEditor::isResultSound()
{
    const cFindings before = findingsOf(m_state.repositoryXml(), false);
    const cFindings after = findingsOf(m_edit.xml(), true);
    QSet<QString> known;
    for (const cFinding& finding : before.list())
        known.insert(Rules::name(finding.rule) + finding.text);
    for (const cFinding& finding : after.list()) {
        if (!known.contains(Rules::name(finding.rule) + finding.text))
            m_findings.add(finding);
    }
    return !m_findings.hasErrors();
}

cFindings cSiteEditor::findingsOf(const QByteArray& xml, bool withNewFiles) const
{
    cFindings findings;
    if (xml.isEmpty())
        return findings;
    const QString path = m_state.repositoryPath();
    cCatalogueLint(cCatalogueLint::Kind::Repository, path, findings).check(xml);
    cSuite suite;
    if (!cCatalogueReader(suite.catalogue()).read(xml))
        return findings;
    cSuiteReader::readPackages(m_state.repositoryFolder(), suite);
    if (withNewFiles) {
        for (const cNewFile& file : m_packages) {
            if (file.manifest)
                suite.add(file.id, *file.manifest, file.qtMajors);
        }
    }
    suite.check(path, findings);
    suite.checkReach(path, findings);
    return findings;
}

void cSiteEditor::sweepLeftovers()
{
    const QString repository = m_state.repositoryFolder();
    cSiteFiles::sweep(m_state.folder(), QStringLiteral("site.xml"));
    cSiteFiles::sweep(m_state.folder(), QStringLiteral(".retired.xml"));
    cSiteFiles::sweep(repository, QStringLiteral("repository.xml"));
    cSiteFiles::sweep(repository, QStringLiteral(".earlier.xml"));
    for (const char* pattern : {"*.zip", "*.delta"})
        cSiteFiles::sweep(repository + QStringLiteral("/packages"), QLatin1String(pattern));
}

bool cSiteEditor::write()
{
    sweepLeftovers();
    QList<cNewFile> files = m_packages + m_deltas.files();
    if (m_runtime)
        files.append(*m_runtime);
    bool isWritten = std::all_of(files.begin(), files.end(), [&](const cNewFile& file) { return writeNewFile(file); });
    const QString retired = cRetiredList::path(m_state.folder());
    if (isWritten && m_retired.isChanged())
        isWritten = m_files.write(retired, m_retired.xml());
    if (isWritten && m_edit.isEarlierChanged())
        isWritten = m_files.write(m_state.earlierPath(), m_edit.earlierXml());
    if (isWritten && m_edit.isChanged())
        isWritten = m_files.write(m_state.repositoryPath(), m_edit.xml());
    if (isWritten && !m_state.hasEntry())
        isWritten = m_files.write(m_state.sitePath(), m_state.siteXml());
    if (!isWritten && m_errorString.isEmpty())
        m_errorString = m_files.errorString();
    return isWritten;
}

ExitCode cSiteEditor::sign()
{
    const QString folder = cSigningRun::keyFolder(m_keys);
    if (!cSiteMetadata::isThere(m_state.folder())) {
        return m_keys.isEmpty()
                   ? ExitCode::Ok
                   : fail(QStringLiteral("%1 has no root yet: norvale site keys init makes one").arg(m_place.site));
    }
    if (folder.isEmpty()) {
        if (m_files.isChanged()) {
            m_findings.add(Rule::SiteUnsigned, m_files.shown(m_state.sitePath()),
                           QStringLiteral("installations that have pinned a root go on with what was signed before, "
                                          "until norvale site sign"));
        }
        return ExitCode::Ok;
    }
    if (!m_keyFolder.open(folder, m_place.site))
        return fail(ExitCode::ReadFailed, m_keyFolder.errorString());
    m_signer.emplace(m_place.site, m_keyFolder, m_files);
    const ExitCode code = m_signer->run();
    for (const cFinding& finding : m_signer->findings().list())
        m_findings.add(finding);
    // What lacks signatures waits, and is told as a finding.
    const bool isDone = code == ExitCode::Ok || code == ExitCode::NotSigned;
    return isDone ? ExitCode::Ok : fail(code, m_signer->errorString());
}

bool cSiteEditor::writeNewFile(const cNewFile& file)
{
    const QString path = m_state.repositoryFolder() + QLatin1Char('/') + file.source;
    if (!file.bytes.isEmpty())
        return m_files.write(path, file.bytes);
    QByteArray bytes;
    if (!readKnownFile(file.path, file.hash, &bytes)) {
        m_errorString = QStringLiteral("%1 has changed while it was published").arg(file.path);
        return false;
    }
    return m_files.write(path, bytes);
}

// What any repository of the site names, or goes back to, stays; and all stays while there is no telling.
void cSiteEditor::removeExpired()
{
    const QStringList expired = m_retired.takeExpired(QDateTime::currentDateTimeUtc());
    QSet<QString> named;
    if (expired.isEmpty() || !collectNamedFiles(&named))
        return;
    for (const QString& file : expired) {
        const QString path = QDir::cleanPath(m_state.folder() + QLatin1Char('/') + file);
        if (!path.startsWith(m_state.folder() + QLatin1Char('/')) || named.contains(path))
            continue;
        for (const QString& delta : cSiteDeltas::besidePackage(path)) {
            if (!named.contains(delta))
                m_files.remove(delta, m_state.folder());
        }
        m_files.remove(path, m_state.folder());
    }
    (void)m_files.write(cRetiredList::path(m_state.folder()), m_retired.xml()); // else the next run does it
}

bool cSiteEditor::collectNamedFiles(QSet<QString>* files) const
{
    cSiteState after;
    if (!after.read(m_place))
        return false;
    for (const cSiteEntry& entry : after.entries()) {
        const QString folder = after.repositoryFolder(entry);
        cFeatureCatalogue catalogue;
        cFeatureCatalogue earlier;
        if (!cSiteState::readCatalogue(folder + QStringLiteral("/repository.xml"), catalogue).isEmpty() ||
            !cSiteState::readCatalogue(after.earlierPath(entry), earlier).isEmpty())
            return false;
        for (const cRepositoryEdit::Feature& feature : catalogue.features() + earlier.features()) {
            for (const cRepositoryEdit::Plugin& plugin : feature->plugins()) {
                for (const cFeatureSource& source : plugin->sources())
                    files->insert(QDir::cleanPath(folder + QLatin1Char('/') + source.source));
                for (const cFeatureDelta& delta : plugin->deltas())
                    files->insert(QDir::cleanPath(folder + QLatin1Char('/') + delta.source.source));
            }
        }
    }
    return true;
}

cStyledLines cSiteEditor::lines() const
{
    const QString place = QStringLiteral(" in repository %1 %2").arg(m_state.name(), m_edit.version().toString());
    cStyledLines lines;
    for (const QString& line : m_files.lines() + m_deltas.lines())
        lines.append(line);
    for (const cChange& change : changes()) {
        lines.append(
            QStringLiteral("feature %1: %2 -> %3")
                .arg(change.feature, change.before.isEmpty() ? QStringLiteral("none") : change.before, change.version));
    }
    lines.append((m_files.isChanged() ? QLatin1String(m_verb) : QLatin1String("nothing is new")) + place);
    return lines;
}

QJsonObject cSiteEditor::json() const
{
    QJsonArray features;
    for (const cChange& change : changes()) {
        QJsonObject object{{"name", change.feature}, {"version", change.version}};
        if (!change.before.isEmpty())
            object["before"] = change.before;
        features.append(object);
    }
    return {{"repository", m_state.entry().update},
            {"status", m_state.entry().status},
            {"version", m_edit.version().toString()},
            {"changed", m_files.isChanged()},
            {"features", features},
            {"deltas", m_deltas.json()},
            {"files", m_files.json()}};
}

QList<cSiteEditor::cChange> cSiteEditor::changes() const
{
    QList<cChange> changes;
    for (const cRepositoryEdit::Feature& feature : m_edit.features()) {
        const cRepositoryEdit::Feature old = m_state.catalogue().find(feature->name());
        if (!old || old->version() != feature->version()) {
            changes.append(
                {feature->name(), old ? old->version().toString() : QString(), feature->version().toString()});
        }
    }
    return changes;
}

ExitCode cSiteEditor::fail(ExitCode code, const QString& reason)
{
    m_errorString = reason;
    return code;
}
