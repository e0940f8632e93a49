#pragma once

#include "lint/cXmlLint.h"
#include "plugins/ManifestRules.h"
#include "version/cPluginId.h"

#include <QtCore/QSet>

#include <optional>

struct cManifest;

/// What a build makes, which the manifest has to say.
struct cBuiltPlugin
{
    cPluginId id;          // the library is named as the plugin
    QString entryFunction; // any when empty
};

/// Holds a manifest against ManifestRules, and its parts against each other.
class cManifestLint : public cXmlLint
{
public:
    using cXmlLint::cXmlLint;

    /// The names of the files in the plugin's folder, so that the library is looked for.
    void setNeighbours(const QSet<QString>& names) { m_neighbours = names; }

    /// The manifest has to be that of @p plugin, where there is one.
    void setBuiltPlugin(const std::optional<cBuiltPlugin>& plugin) { m_built = plugin; }

    /// @return false when nothing can be said about the plugin, since the document cannot be read or names none.
    bool check(const QByteArray& xml);

    /// What the first `plugin` element says, which is what an installation goes by. Valid after check().
    const cPluginId& id() const { return m_id; }

    /// What the framework's own reader makes of @p xml; nothing when it refuses.
    static std::optional<cManifest> read(const QByteArray& xml, const QString& file, QString* reason = nullptr);

private:
    void checkElement(const ManifestRules::cRule& rule, const cXmlElement& element);
    void checkText(const ManifestRules::cRule& rule, const QString& text, const cXmlElement& element);
    void checkBuiltPlugin(const cXmlElement& plugin);
    void checkParams(const cXmlElement& params);
    void checkLibrary(const cXmlElement& library);
    void checkNoLibrary(const cXmlElement& plugin);
    void checkService(const cXmlElement& service);
    void checkDependency(const cXmlElement& dependency);
    void checkSecond(QStringView tag, const cXmlElement& second);
    void checkCondition(const cXmlElement& line, const QString& condition);

    std::optional<QSet<QString>> m_neighbours;
    std::optional<cBuiltPlugin> m_built;
    cPluginId m_id;
    bool m_isRefused = false; // the reader stops at what has been reported
    bool m_hasLibrary = false;
    QSet<QString> m_services;
    QSet<QString> m_dependencies;
};
