#include "lint/cLinter.h"

#include "lint/DocumentKind.h"
#include "lint/InputFile.h"
#include "lint/cManifestLint.h"
#include "lint/cPackageLint.h"
#include "lint/cSiteLint.h"
#include "pack/cPluginFolder.h"
#include "report/cFindings.h"
#include "suite/cSuite.h"
#include "suite/cSuiteReader.h"
#include "version/cPluginId.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

bool cLinter::check(const QString& path)
{
    if (!QFileInfo(path).isDir())
        return checkFile(path);
    QStringList pending{QDir::cleanPath(path)};
    while (!pending.isEmpty())
        checkFolder(pending.takeLast(), pending);
    return true;
}

void cLinter::checkFolder(const QString& path, QStringList& pending)
{
    const QDir folder(path);
    if (folder.exists(QStringLiteral("Manifest.xml")))
        return checkPluginFolder(path);
    QStringList inside;
    const auto entries =
        folder.entryInfoList(QDir::Dirs | QDir::Files | QDir::NoSymLinks | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo& entry : entries) {
        if (entry.isDir())
            inside.prepend(entry.filePath()); // they are taken from the end
        else if (entry.suffix() == QLatin1String("zip") || DocumentKind::isKnownName(entry.fileName()))
            checkFile(entry.filePath());
    }
    pending += inside;
}

// What it holds is the plugin's own, be it XML or archives.
void cLinter::checkPluginFolder(const QString& path)
{
    cPluginFolder folder(path);
    folder.scan(m_findings);
    QByteArray xml;
    if (!readInputFile(folder.manifestPath(), LargestDocument, &xml, m_findings))
        return;
    ++m_fileCount;
    cManifestLint lint(folder.manifestPath(), m_findings);
    lint.setNeighbours(folder.names());
    if (!lint.check(xml) || !QFileInfo(path + QStringLiteral("/../features.xml")).isFile())
        return;
    const QString identity = cPluginId(lint.name(), lint.version()).toString();
    if (QFileInfo(path).fileName() != identity)
        m_findings.add(Rule::FolderIdentity, path, QStringLiteral("the manifest is that of %1").arg(identity));
}

bool cLinter::checkFile(const QString& path)
{
    const QFileInfo info(path);
    if (info.suffix() == QLatin1String("zip"))
        return checkPackage(path), true;
    QByteArray xml;
    if (!readInputFile(path, LargestDocument, &xml, m_findings))
        return true;
    ++m_fileCount;
    switch (DocumentKind::of(info.fileName(), xml)) {
    case DocumentKind::Manifest:
        return checkManifest(path, xml), true;
    case DocumentKind::Features:
        return checkFeatures(path, xml), true;
    case DocumentKind::Repository:
        return checkRepository(path, xml), true;
    case DocumentKind::Site:
        return checkSite(path, xml), true;
    case DocumentKind::None:
        break;
    }
    return false;
}

void cLinter::checkManifest(const QString& path, const QByteArray& xml)
{
    cManifestLint(path, m_findings).check(xml);
}

void cLinter::checkFeatures(const QString& path, const QByteArray& xml)
{
    if (cCatalogueLint(cCatalogueLint::Kind::Features, path, m_findings).check(xml))
        checkSuite(path, cCatalogueLint::Kind::Features);
}

void cLinter::checkRepository(const QString& path, const QByteArray& xml)
{
    cCatalogueLint lint(cCatalogueLint::Kind::Repository, path, m_findings);
    lint.setPackageFolder(QFileInfo(path).path());
    if (lint.check(xml))
        checkSuite(path, cCatalogueLint::Kind::Repository);
}

void cLinter::checkSuite(const QString& catalogue, cCatalogueLint::Kind kind)
{
    cSuite suite;
    if (!cSuiteReader(m_findings).read(catalogue, suite))
        return;
    suite.check(catalogue, m_findings);
    if (kind == cCatalogueLint::Kind::Repository)
        suite.checkReach(catalogue, m_findings);
}

void cLinter::checkSite(const QString& path, const QByteArray& xml)
{
    cSiteLint lint(path, m_findings);
    if (!lint.check(xml))
        return;
    for (const cSiteLint::Entry& entry : lint.entries()) {
        const QString repository = QDir::cleanPath(QFileInfo(path).path() + QLatin1Char('/') + entry.content +
                                                   QStringLiteral("/repository.xml"));
        if (!QFileInfo(repository).isFile())
            m_findings.add({Rule::SiteNoRepository, path, entry.line, entry.column,
                            QStringLiteral("there is no %1").arg(repository)});
    }
}

void cLinter::checkPackage(const QString& path)
{
    QByteArray bytes;
    if (!readInputFile(path, LargestFile, &bytes, m_findings))
        return;
    ++m_fileCount;
    cPackageLint lint(path, m_findings);
    if (!lint.check(bytes))
        return;
    const QString name = cPluginId(lint.name(), lint.version()).packageFileName();
    if (QFileInfo(path).fileName() != name)
        m_findings.add(Rule::PackageName, path, QStringLiteral("the package is that of %1").arg(name));
}
