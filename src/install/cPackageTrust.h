#pragma once

#include "trust/cInstallationTrust.h"

#include <Norvale/cLog.h>

#include <optional>

/**
 * Decides whether a package may be installed, by what the installation trusts: its bytes stand in the trusted set as it
 * is stored, or in what the medium that it lies on has brought along: a folder "tuf" of signed metadata, beside the
 * description or the package, or one or two folders up, as on an update site.
 *
 * Bootstrap is a medium like any other: what lies there has been brought from elsewhere. Where no root of trust is
 * pinned, all may be installed. An object is for one install.
 */
class cPackageTrust
{
public:
    /// @p path is the description or the package; empty where there is none. @p isOverridden lets everything pass,
    /// which is logged when it makes a difference.
    cPackageTrust(const QString& path, bool isOverridden, const cLog& log);

    /// Why the package named @p fileName may not be installed, as a sentence for people that goes on after its name;
    /// empty when it may.
    [[nodiscard]] QString refusal(const QByteArray& bytes, const QString& fileName);

    /// Whether everything passes, as the caller has asked for.
    bool isOverridden() const { return m_isOverridden; }

private:
    QString mediumFault();

    const QString m_path;
    const bool m_isOverridden;
    cInstallationTrust m_trust;
    std::optional<QString> m_fault; // why nothing can be verified; empty when it can, and nothing before it is tried
    std::optional<QString> m_mediumFault; // the same of the medium's own metadata
};
