#pragma once

#include "lint/cCatalogueLint.h"
#include "lint/cManifestLint.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

class cFindings;

/**
 * Holds whatever a path names against the rules: a manifest, a catalogue, a site description, a package, the folder of
 * a plugin, an installation, or a folder with any of these in it. Links are not followed.
 */
class cLinter
{
public:
    explicit cLinter(cFindings& findings) : m_findings(findings) {}

    /// Documents are manifests, and have to be that of @p plugin.
    void setBuiltPlugin(const cBuiltPlugin& plugin) { m_built = plugin; }

    /// @return false when @p path names nothing that is known.
    [[nodiscard]] bool check(const QString& path);

    /// How many files were looked at.
    int fileCount() const { return m_fileCount; }

    /// The folders of the sites among them. What their packages hold has not been compared with what they say of it.
    const QStringList& sites() const { return m_sites; }

private:
    void checkFolder(const QString& path, QStringList& pending);
    void checkInstalled(const QString& path, const QStringList& folders);
    void checkPluginFolder(const QString& path);
    bool checkFile(const QString& path);
    void checkManifest(const QString& path, const QByteArray& xml);
    void checkFeatures(const QString& path, const QByteArray& xml);
    void checkRepository(const QString& path, const QByteArray& xml);
    void checkSite(const QString& path, const QByteArray& xml);
    void checkPackage(const QString& path);
    void checkSuite(const QString& catalogue, cCatalogueLint::Kind kind);

    cFindings& m_findings;
    std::optional<cBuiltPlugin> m_built;
    int m_fileCount = 0;
    QStringList m_sites;
};
