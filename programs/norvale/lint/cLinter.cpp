#include "lint/cLinter.h"

#include "core/cXmlReader.h"
#include "core/cXmlTree.h"
#include "lint/InputFile.h"
#include "lint/cPackageLint.h"
#include "pack/cPluginFolder.h"
#include "plugins/ManifestRules.h"
#include "report/cFindings.h"
#include "suite/cSuite.h"
#include "suite/cSuiteReader.h"
#include "version/cPluginId.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QHash>

#include <algorithm>

namespace {

enum class Kind { None, Manifest, Features, Repository, Site };

Kind kindOfName(const QString& fileName)
{
    static const QHash<QString, Kind> kinds{{ManifestRules::FileName, Kind::Manifest},
                                            {QStringLiteral("features.xml"), Kind::Features},
                                            {QStringLiteral("repository.xml"), Kind::Repository},
                                            {QStringLiteral("site.xml"), Kind::Site}};
    return kinds.value(fileName, Kind::None);
}

Kind kindOfContent(const cXmlElement& root)
{
    if (!root.firstChild(u"plugin").isNull())
        return Kind::Manifest;
    if (!root.firstChild(u"repository").isNull())
        return Kind::Site;
    if (!root.firstChild(u"runtime").isNull() || !root.attribute(u"name").isEmpty())
        return Kind::Repository;
    return root.firstChild(u"feature").isNull() ? Kind::None : Kind::Features;
}

/// Which of the documents a file is: by its name, where that is one that the system gives to such documents; else by
/// what stands in it.
Kind kindOf(const QString& fileName, const QByteArray& xml)
{
    const Kind named = kindOfName(fileName);
    cXmlTree tree;
    if (named != Kind::None || !cXmlReader::read(xml, tree, nullptr))
        return named;
    return kindOfContent(tree.root());
}

} // namespace

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
    if (folder.exists(ManifestRules::FileName))
        return checkPluginFolder(path);
    QStringList inside;
    const auto entries =
        folder.entryInfoList(QDir::Dirs | QDir::Files | QDir::NoSymLinks | QDir::NoDotAndDotDot, QDir::Name);
    for (const QFileInfo& entry : entries) {
        if (entry.isDir()) {
            inside.prepend(entry.filePath()); // they are taken from the end
        } else if (entry.suffix() == QLatin1String("zip") || kindOfName(entry.fileName()) != Kind::None) {
            checkFile(entry.filePath());
        }
    }
    checkInstalled(path, inside);
    pending += inside;
}

// Folders that are named as installed plugins are lie together with what says that they are.
void cLinter::checkInstalled(const QString& path, const QStringList& folders)
{
    const auto isInstalled = [](const QString& folder) {
        return !cPluginId::parse(QFileInfo(folder).fileName()).isNull() &&
               QFileInfo(folder + QLatin1Char('/') + ManifestRules::FileName).isFile();
    };
    const auto plugin = std::find_if(folders.rbegin(), folders.rend(), isInstalled);
    if (plugin == folders.rend() || QFileInfo(path + QStringLiteral("/features.xml")).isFile())
        return;
    m_findings.add(Rule::SuiteNoFeatures, path,
                   QStringLiteral("there is no features.xml beside %1: no plugin counts as installed")
                       .arg(QFileInfo(*plugin).fileName()));
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
    lint.setBuiltPlugin(m_built);
    if (!lint.check(xml) || !QFileInfo(path + QStringLiteral("/../features.xml")).isFile())
        return;
    const QString identity = lint.id().toString();
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
    switch (m_built ? Kind::Manifest : kindOf(info.fileName(), xml)) {
    case Kind::Manifest:
        return checkManifest(path, xml), true;
    case Kind::Features:
        return checkFeatures(path, xml), true;
    case Kind::Repository:
        return checkRepository(path, xml), true;
    case Kind::Site:
        return checkSite(path, xml), true;
    case Kind::None:
        break;
    }
    return false;
}

void cLinter::checkManifest(const QString& path, const QByteArray& xml)
{
    cManifestLint lint(path, m_findings);
    lint.setBuiltPlugin(m_built);
    lint.check(xml);
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
    m_sites.append(QFileInfo(path).path());
    cSiteLint lint(path, m_findings);
    if (!lint.check(xml))
        return;
    for (const cSiteLint::Entry& entry : lint.entries()) {
        const QString repository = QDir::cleanPath(QFileInfo(path).path() + QLatin1Char('/') + entry.content +
                                                   QStringLiteral("/repository.xml"));
        if (!QFileInfo(repository).isFile()) {
            m_findings.add({Rule::SiteNoRepository, path, entry.line, entry.column,
                            QStringLiteral("there is no %1").arg(repository)});
        }
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
