#pragma once

#include "config/cFeatureCatalogue.h"

#include <QtCore/QXmlStreamWriter>

/**
 * Writes the documents that the readers read: the features file, repository descriptions and site descriptions. Each is
 * UTF-8 with declaration and line ends, two spaces an element level, and its attributes always come in the same order.
 *
 * A repository or site reads back equal, in the order of its parts. One thing cannot be kept: the reader drops a text
 * that is nothing but white space. Of the features file see installed().
 */
class cCatalogueWriter
{
public:
    /// What the installed state needs of @p features, with @p version as the root's version: every feature is active;
    /// dependencies, notes, sizes, sources, hashes, deltas and runtimes are left out.
    static QByteArray installed(const cFeatureCatalogue::Features& features, const QString& version);

    static QByteArray repository(const cFeatureCatalogue& catalogue);

    static QByteArray site(const QList<cSiteEntry>& entries);

private:
    explicit cCatalogueWriter(const char* root);
    QByteArray finish();

    void beginFeature(const cFeatureInstance& feature, const QString& version, bool isActive);
    void writeFeature(const cFeatureInstance& feature);
    void writePlugin(const cFeaturePlugin& plugin);
    void writeRuntime(const cRuntimeEntry& runtime);
    void writeHash(const QByteArray& digest);

    void begin(const char* tag) { m_xml.writeStartElement(QLatin1String(tag)); }
    void attribute(const char* name, const QString& value);
    void text(const char* tag, const QString& content);
    void end() { m_xml.writeEndElement(); }

    QByteArray m_bytes;
    QXmlStreamWriter m_xml;
};
