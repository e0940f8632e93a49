#pragma once

#include <QtCore/QString>

class cFeaturePlugin;
class cFindings;
class cSuite;

/// Reads a suite from the disk: an installation by its features.xml and the manifests in the folders of its plugins, a
/// repository by its repository.xml and the packages that lie beside it or where its sources point.
class cSuiteReader
{
public:
    /// Adds to @p findings what cannot be read; only the catalogue itself and what is missing, not the rules of
    /// formats.
    explicit cSuiteReader(cFindings& findings) : m_findings(findings) {}

    /// The catalogue that @p path means: the file itself, or what the folder is: an installation, its plugins folder, a
    /// repository's folder. Empty when there is none.
    static QString catalogueOf(const QString& path);

    /// Reads the suite of the catalogue at @p path. @return false when that cannot be read.
    [[nodiscard]] bool read(const QString& path, cSuite& suite);

    /// Adds the manifests of the packages of a repository in @p folder, as far as they can be read.
    static void readPackages(const QString& folder, cSuite& suite);

    /// The package of @p plugin on the disk, of a repository in @p folder; empty when it is not there.
    static QString packageOf(const cFeaturePlugin& plugin, const QString& folder);

private:
    void readInstalled(const QString& folder, const QString& catalogue, cSuite& suite);
    cFindings& m_findings;
};
