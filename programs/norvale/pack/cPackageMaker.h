#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>

class cFindings;
class cPluginFolder;

/// Makes a plugin's package out of its folder.
class cPackageMaker
{
public:
    /// @p excluded as cPluginFolder takes it.
    cPackageMaker(const QString& folder, const QStringList& excluded) : m_folder(folder), m_excluded(excluded) {}

    /// Reads the folder, makes the package, and holds it against the rules of an installation. @return false when one
    /// of
    /// @p findings is an error; there is no package then.
    [[nodiscard]] bool make(cFindings& findings);

    /// "NAME-VERSION.zip" as the manifest says. This and bytes() are valid after make().
    QString fileName() const { return m_fileName; }
    QByteArray bytes() const { return m_bytes; }

private:
    bool readManifest(const cPluginFolder& folder, cFindings& findings);
    bool write(const cPluginFolder& folder, cFindings& findings);
    QSet<QString> tooDenseEntries() const;
    bool isWithinLimits(const cPluginFolder& folder, cFindings& findings) const;

    QString m_folder;
    QStringList m_excluded;
    QString m_fileName;
    QByteArray m_bytes;
    QSet<QString> m_stored; // names of what is not deflated
};
