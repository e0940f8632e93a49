#pragma once

#include "plugins/ManifestRules.h"
#include "plugins/cManifest.h"
#include "plugins/cVariableExpander.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

class cPluginId;
class cXmlElement;

/**
 * Reads a plugin's Manifest.xml, as ManifestRules has it; what is not in there is ignored.
 *
 * Several `plugin` elements add to one manifest, a later one overwriting single values also with their defaults. On
 * false the fields read before the fault stay, and errorString() tells the file, line and column.
 */
class cManifestReader
{
public:
    /// @p plugin and its @p folder are what the variables of command lines stand for; the library is looked for in the
    /// folder. @p manifest is what is filled.
    cManifestReader(const cPluginId& plugin, const QString& folder, cManifest& manifest)
        : m_folder(folder), m_expander(plugin, folder), m_manifest(manifest)
    {
    }

    [[nodiscard]] bool readFile(const QString& path);

    /// @p path is for messages only.
    [[nodiscard]] bool read(const QByteArray& xml, const QString& path);

    /// The command line of the element @p line, its variables replaced.
    cCmdLine readCommandLine(const cXmlElement& line);

    const QString& errorString() const { return m_errorString; }

    /// What the document has that nobody reads, each with its place; also after a fault.
    const QStringList& warnings() const { return m_warnings; }

private:
    bool readElement(const ManifestRules::cRule& rule, const cXmlElement& element);
    void readPlugin(const cXmlElement& plugin);
    void readLibrary(const cXmlElement& library);
    bool readParams(const QString& text);
    void readDependency(const QString& text);
    bool readService(const QString& name);
    QString placed(const cXmlElement& element, const QString& text) const;
    bool failAt(const ManifestRules::cRule& rule, const cXmlElement& element);

    QString m_folder;
    cVariableExpander m_expander;
    cManifest& m_manifest;
    QList<cCmdLine>* m_commandLines = nullptr; // of the `install` or `uninstall` that is being read
    QString m_path;
    QStringList m_warnings;
    QString m_errorString;
};
