#pragma once

#include "lint/InputFile.h"
#include "plugins/cManifest.h"

#include <Norvale/cVersion.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <optional>

class cFindings;

/// Holds a plugin package against the rules of an installation, by the installer's own check, and its manifest against
/// those of manifests.
class cPackageLint
{
public:
    /// @p file is what findings name.
    cPackageLint(const QString& file, cFindings& findings) : m_file(file), m_findings(findings) {}

    /// @return false when it would not be installed.
    bool check(const QByteArray& bytes);

    /// What the package holds; valid after a check() that was true.
    QString name() const { return m_name; }
    cVersion version() const { return m_version; }
    const std::optional<cManifest>& manifest() const { return m_manifest; }
    const cQtMajors& qtMajors() const { return m_qtMajors; }

private:
    void checkManifest(const cPackage& package);
    void checkSums(const cPackage& package);

    QString m_file;
    cFindings& m_findings;
    QString m_name;
    cVersion m_version;
    std::optional<cManifest> m_manifest;
    cQtMajors m_qtMajors;
};
