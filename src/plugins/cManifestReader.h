#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

class cXmlElement;
class cPluginInstance;
struct cManifest;

/**
 * Reads a plugin's Manifest.xml. There is a function for each element that has a meaning; others are ignored.
 *
 * Several `plugin` elements add to one manifest, a later one overwriting single values also with their defaults. On
 * false the fields read before the fault stay, and errorString() tells the file, line and column.
 */
class cManifestReader
{
public:
    /// @p plugin gives the folder and reads the command lines; @p manifest is what is filled.
    cManifestReader(cPluginInstance& plugin, cManifest& manifest) : m_plugin(plugin), m_manifest(manifest) {}

    [[nodiscard]] bool readFile(const QString& path);

    /// @p path is for messages only.
    [[nodiscard]] bool read(const QByteArray& xml, const QString& path);

    const QString& errorString() const { return m_errorString; }

private:
    bool readPlugin(const cXmlElement& plugin);
    void readAttributes(const cXmlElement& plugin);
    bool readStart(const cXmlElement& start);
    void readLibrary(const cXmlElement& library);
    bool readParams(const cXmlElement& params);
    void readDependencies(const cXmlElement& dependencies);
    bool readServices(const cXmlElement& services);
    void readDeployment(const cXmlElement& deployment);
    bool failAt(const cXmlElement& element, const QString& reason);

    cPluginInstance& m_plugin;
    cManifest& m_manifest;
    QString m_path;
    QString m_errorString;
};
