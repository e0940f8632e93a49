#pragma once

#include "config/cRuntimeEntry.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QString>

class cFeatureCatalogue;
class cFeatureInstance;
class cFeaturePlugin;

/**
 * Writes a whole repository description: the inverse of the catalogue reader, unlike the writer of the features file.
 *
 * What is written reads back equal: root, features, display names, dependencies, plugins, sources, hashes and runtime
 * entries, in their order. One thing cannot be kept: the reader drops a text that is nothing but white space.
 */
class cRepositoryWriter
{
public:
    /// The description as UTF-8, with declaration and line ends, two spaces an element level.
    static QByteArray write(const cFeatureCatalogue& catalogue,
                            const QList<cRuntimeEntry>& runtimes = QList<cRuntimeEntry>());

private:
    cRepositoryWriter() = default;

    void writeFeature(const cFeatureInstance& feature);
    void writeDependencies(const cFeatureInstance& feature);
    void writePlugins(const cFeatureInstance& feature);
    void writePlugin(const cFeaturePlugin& plugin);
    void writeRuntime(const cRuntimeEntry& runtime);

    void writeHash(const QByteArray& digest);

    // An element is begun, given its attributes, and then opened for children, or closed with nothing or a text inside.
    void begin(const char* tag);
    void attribute(const char* name, const QString& value);
    void open();
    void closeEmpty();
    void closeWith(const char* tag, const QString& text);
    void close(const char* tag);

    QByteArray m_xml;
    int m_level = 0;
};
