#pragma once

#include "lint/cXmlLint.h"
#include "version/cPluginId.h"

#include <Norvale/cVersion.h>

#include <QtCore/QHash>
#include <QtCore/QList>
#include <QtCore/QPair>
#include <QtCore/QSet>
#include <QtCore/QString>
#include <QtCore/QStringList>

/// Holds a feature catalogue, features.xml or repository.xml, against the rules of its format.
class cCatalogueLint : public cXmlLint
{
public:
    /// What is installed; what is to be had, with sources and hashes.
    enum class Kind { Features, Repository };

    cCatalogueLint(Kind kind, const QString& file, cFindings& findings);

    /// Packages of this folder need no source: an installation from the local disk finds them there.
    void setPackageFolder(const QString& folder) { m_packageFolder = folder; }

    /// @return false when the document cannot be read.
    bool check(const QByteArray& xml);

private:
    void checkRoot();
    void checkFeature(const cXmlElement& feature);
    void checkIdentity(const cXmlElement& feature);
    void checkNotes(const cXmlElement& feature);
    void checkDependencies();
    void checkPlugin(const cXmlElement& plugin, const QString& feature);
    void checkVersionOf(const cXmlElement& plugin, const QString& feature);
    void checkPackage(const cXmlElement& plugin);
    void checkDeltas(const cXmlElement& plugin);
    void checkRuntime(const cXmlElement& runtime);
    void checkHash(Rule rule, const cXmlElement& parent);
    bool liesBesideDocument(const cXmlElement& plugin) const;

    Kind m_kind;
    QString m_packageFolder;
    QHash<QString, cVersion> m_features; // the version that comes first
    QSet<cPluginId> m_featureVersions;
    QHash<QString, QPair<cVersion, QString>> m_plugins; // the version that comes first, and its feature
    QHash<QString, QString> m_spellings;                // names of plugins by the caseless form
};

/// Holds a site description against the rules of its format.
class cSiteLint : public cXmlLint
{
public:
    /// An entry as it stands there, with its place.
    struct Entry
    {
        QString update;
        QString content;
        int line = 0;
        int column = 0;
    };

    using cXmlLint::cXmlLint;

    /// @return false when the document cannot be read.
    bool check(const QByteArray& xml);

    /// Valid after check().
    const QList<Entry>& entries() const { return m_entries; }

private:
    void checkEntry(const cXmlElement& entry);

    QList<Entry> m_entries;
    QSet<QStringList> m_seen;
};
