#include "suite/cSuiteReader.h"

#include "config/cCatalogueReader.h"
#include "install/cPackage.h"
#include "lint/InputFile.h"
#include "lint/cManifestLint.h"
#include "plugins/ManifestRules.h"
#include "report/cFindings.h"
#include "suite/cSuite.h"
#include "version/cPluginId.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

QString cSuiteReader::catalogueOf(const QString& path)
{
    if (QFileInfo(path).isFile())
        return path;
    for (const char* name : {"plugins/features.xml", "features.xml", "repository.xml"}) {
        const QString file = QDir(path).filePath(QLatin1String(name));
        if (QFileInfo(file).isFile())
            return file;
    }
    return QString();
}

bool cSuiteReader::read(const QString& path, cSuite& suite)
{
    QByteArray xml;
    if (!readInputFile(path, LargestDocument, &xml, m_findings))
        return false;
    cCatalogueReader reader(suite.catalogue());
    if (!reader.read(xml)) {
        m_findings.add(Rule::XmlMalformed, path, reader.errorString());
        return false;
    }
    const QFileInfo info(path);
    if (info.fileName() == QLatin1String("features.xml"))
        readInstalled(info.path(), path, suite);
    else
        readPackages(info.path(), suite);
    return true;
}

void cSuiteReader::readInstalled(const QString& folder, const QString& catalogue, cSuite& suite)
{
    for (const QSharedPointer<cFeaturePlugin>& plugin : suite.plugins()) {
        const cPluginId& id = plugin->id();
        const QString path = QDir(folder).filePath(id.toString() + QLatin1Char('/') + ManifestRules::FileName);
        QByteArray xml;
        if (!id.isSafe() || !QFileInfo(path).isFile()) {
            m_findings.add(Rule::SuitePluginMissing, catalogue,
                           QStringLiteral("%1 has no manifest at %2").arg(id.toString(), path));
            continue;
        }
        if (!readInputFile(path, LargestDocument, &xml, m_findings))
            continue;
        if (const auto manifest = cManifestLint::read(xml, path))
            suite.add(id, *manifest, folderQtMajors(QFileInfo(path).path(), *manifest));
    }
}

void cSuiteReader::readPackages(const QString& folder, cSuite& suite)
{
    for (const QSharedPointer<cFeaturePlugin>& plugin : suite.plugins()) {
        const QString path = packageOf(*plugin, folder);
        if (path.isEmpty())
            continue;
        cPackage package;
        if (QFileInfo(path).size() > LargestFile || !package.readFile(path) || !package.readDirectory())
            continue;
        if (const auto manifest = cManifestLint::read(packageManifest(package), path))
            suite.add(plugin->id(), *manifest, packageQtMajors(package, *manifest));
    }
}

QString cSuiteReader::packageOf(const cFeaturePlugin& plugin, const QString& folder)
{
    QStringList paths;
    if (plugin.id().isSafe())
        paths.append(plugin.id().packageFileName());
    for (const cFeatureSource& source : plugin.sources())
        paths.append(source.source);
    for (const QString& path : paths) {
        const QString file = QDir::cleanPath(folder + QLatin1Char('/') + path);
        if (!path.contains(QLatin1String("://")) && QFileInfo(file).isFile())
            return file;
    }
    return QString();
}
