#pragma once

#include "lint/cXmlLint.h"

#include <Norvale/cVersion.h>

#include <QtCore/QSet>

#include <optional>

struct cManifest;

/// Holds a manifest against the rules of its format.
class cManifestLint : public cXmlLint
{
public:
    using cXmlLint::cXmlLint;

    /// The names of the files in the plugin's folder, so that the library is looked for.
    void setNeighbours(const QSet<QString>& names) { m_neighbours = names; }

    /// @return false when nothing can be said about the plugin, since the document cannot be read or names none.
    bool check(const QByteArray& xml);

    /// What the first `plugin` element says, which is what an installation goes by. Valid after check().
    QString name() const { return m_name; }
    cVersion version() const { return m_version; }

    /// What the framework's own reader makes of @p xml; nothing when it refuses.
    static std::optional<cManifest> read(const QByteArray& xml, const QString& file, QString* reason = nullptr);

private:
    void checkPlugin(const cXmlElement& plugin);
    void checkAttributes(const cXmlElement& plugin);
    void checkStart(const cXmlElement& start);
    void checkLibrary(const cXmlElement& library);
    void checkServices(const cXmlElement& services);
    void checkDependencies(const cXmlElement& dependencies);
    void checkDependency(const cXmlElement& dependency);
    void checkDeployment(const cXmlElement& deployment);
    void checkCommandLine(const cXmlElement& line);
    void checkCondition(const cXmlElement& line, const QString& condition);
    void checkVariables(const cXmlElement& element, const QString& text);

    std::optional<QSet<QString>> m_neighbours;
    QString m_name;
    cVersion m_version;
    bool m_hasLibrary = false;
    QSet<QString> m_services;
    QSet<QString> m_dependencies;
};
