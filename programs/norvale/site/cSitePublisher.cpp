#include "site/cSitePublisher.h"

#include "config/cCatalogueReader.h"
#include "core/Files.h"
#include "lint/InputFile.h"
#include "lint/cCatalogueLint.h"
#include "lint/cPackageLint.h"
#include "suite/cSuite.h"
#include "suite/cSuiteReader.h"
#include "version/cPluginId.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QLockFile>
#include <QtCore/QSet>

namespace {

QByteArray sha1(const QByteArray& bytes)
{
    return QCryptographicHash::hash(bytes, QCryptographicHash::Sha1);
}

} // namespace

ExitCode cSitePublisher::run()
{
    if (!QDir().mkpath(m_wanted.site))
        return fail(ExitCode::WriteFailed, QStringLiteral("the folder %1 cannot be made").arg(m_wanted.site));
    // Two runs at once would each keep what stood there, and the later one lose what the other has added.
    QLockFile lock(QDir(m_wanted.site).filePath(QStringLiteral(".norvale.lock")));
    // A living owner's file is locked by the system too, however old it is. A dead one may have left it without or with
    // half a name.
    lock.setStaleLockTime(1000);
    if (!lock.tryLock(2000)) {
        return lock.error() == QLockFile::LockFailedError
                   ? fail(ExitCode::Busy, QStringLiteral("%1 is being changed by another run").arg(m_wanted.site))
                   : fail(ExitCode::WriteFailed, QStringLiteral("%1 cannot be written").arg(m_wanted.site));
    }
    return publish();
}

ExitCode cSitePublisher::publish()
{
    if (!m_state.read(m_wanted))
        return fail(ExitCode::Faults, m_state.errorString());
    if (!readFiles())
        return m_findings.has(Rule::FileUnreadable) ? ExitCode::ReadFailed : ExitCode::Faults;
    if (!m_edit.apply(m_packages, m_runtime ? &*m_runtime : nullptr))
        return fail(ExitCode::Faults, m_edit.errorString());
    if (!isResultSound())
        return ExitCode::Faults;
    return write() ? ExitCode::Ok : ExitCode::WriteFailed;
}

bool cSitePublisher::readFiles()
{
    for (const QString& path : qAsConst(m_wanted.packages)) {
        if (!readPackage(path))
            return false;
    }
    return m_wanted.runtime.isEmpty() || readRuntime();
}

bool cSitePublisher::readPackage(const QString& path)
{
    cNewFile file;
    file.path = path;
    cPackageLint lint(path, m_findings);
    if (!readInputFile(path, LargestFile, &file.bytes, m_findings) || !lint.check(file.bytes) || m_findings.hasErrors())
        return false;
    file.hash = sha1(file.bytes);
    file.id = cPluginId(lint.name(), lint.version());
    file.manifest = lint.manifest();
    m_packages.append(file);
    return true;
}

bool cSitePublisher::readRuntime()
{
    cNewFile file;
    file.path = m_wanted.runtime;
    file.id = cPluginId(QFileInfo(file.path).fileName(), cVersion(m_wanted.runtimeVersion));
    if (!readInputFile(file.path, LargestFile, &file.bytes, m_findings))
        return false;
    if (!isSafePackageName(file.id.name()))
        m_findings.add(Rule::RuntimeBadName, file.path, QStringLiteral("not every system can have this name"));
    file.hash = sha1(file.bytes);
    m_runtime = file;
    return !m_findings.hasErrors();
}

// What was wrong before keeps nobody from mending something else.
bool cSitePublisher::isResultSound()
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

cFindings cSitePublisher::findingsOf(const QByteArray& xml, bool withNewFiles) const
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
                suite.addManifest(file.id, *file.manifest);
        }
    }
    suite.check(path, findings);
    suite.checkReach(path, findings);
    return findings;
}

// Files that a run which was cut off was writing; nothing else writes while the lock is held.
void cSitePublisher::sweepLeftovers()
{
    const QString repository = m_state.repositoryFolder();
    const QList<QPair<QString, QString>> places{{QFileInfo(m_state.sitePath()).path(), QStringLiteral("site.xml")},
                                                {repository, QStringLiteral("repository.xml")},
                                                {repository + QStringLiteral("/packages"), QStringLiteral("*.zip")}};
    for (const auto& place : places) {
        const QDir folder(place.first);
        for (const QString& name : folder.entryList({place.second + QStringLiteral(".??????")}, QDir::Files))
            QFile::remove(folder.filePath(name));
    }
}

bool cSitePublisher::write()
{
    sweepLeftovers();
    const QString folder = m_state.repositoryFolder() + QLatin1Char('/');
    QList<cNewFile> files = m_packages;
    if (m_runtime)
        files.append(*m_runtime);
    for (const cNewFile& file : qAsConst(files)) {
        if (!writeFile(folder + file.source, file.bytes))
            return false;
    }
    if (m_edit.isChanged() && !writeFile(m_state.repositoryPath(), m_edit.xml()))
        return false;
    return m_state.hasEntry() || writeFile(m_state.sitePath(), m_state.siteXml());
}

bool cSitePublisher::writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (file.size() == bytes.size() && file.open(QIODevice::ReadOnly) && file.readAll() == bytes)
        return true;
    file.close(); // some systems put nothing in the place of an open file
    return replaceFile(path, bytes, &m_errorString);
}

QString cSitePublisher::summary() const
{
    const QString place =
        QStringLiteral("repository %1 (%2) %3").arg(m_state.entry().update, m_state.entry().status, m_edit.version());
    return m_edit.isChanged() || !m_state.hasEntry() ? QStringLiteral("published in ") + place
                                                     : QStringLiteral("nothing is new in ") + place;
}

ExitCode cSitePublisher::fail(ExitCode code, const QString& reason)
{
    m_errorString = reason;
    return code;
}
