#pragma once

#include "config/cUpdateLocation.h"

#include <QtCore/QSet>
#include <QtCore/QSharedPointer>
#include <QtCore/QString>

class QByteArray;
class cFeatureCatalogue;
class cFeatureInstance;
class cFeaturePlugin;
class cXmlElement;
class cXmlTree;

/**
 * Reads catalogue documents (`features.xml`, `repository.xml`) into a feature catalogue. What is read is added to the
 * features and runtimes that the catalogue already holds; a feature or plugin that comes twice is one with the union of
 * its parts.
 */
class cCatalogueReader
{
public:
    /// @p location goes into every source read; null for a document from the local disk.
    explicit cCatalogueReader(cFeatureCatalogue& catalogue,
                              const QSharedPointer<cUpdateLocation>& location = QSharedPointer<cUpdateLocation>());

    /// False only when the bytes are not well-formed or nested too deeply; errorString() then says where and why.
    [[nodiscard]] bool read(const QByteArray& xml);

    /// False only when the tree is empty; otherwise true, however much of the content was usable.
    [[nodiscard]] bool read(const cXmlTree& tree);

    /// "line L, column C: message" of the last failure.
    QString errorString() const { return m_errorString; }

private:
    void readRoot(const cXmlElement& root);
    void readFeature(const cXmlElement& element);
    void readRuntime(const cXmlElement& element);
    void readDisplayName(const cXmlElement& element, cFeatureInstance& feature);
    static void readDependencies(const cXmlElement& element, cFeatureInstance& feature);
    void readPlugins(const cXmlElement& element, cFeatureInstance& feature) const;
    void readPlugin(const cXmlElement& element, cFeatureInstance& feature) const;
    void readPackage(const cXmlElement& element, cFeaturePlugin& plugin) const;

    cFeatureCatalogue& m_catalogue;
    QSharedPointer<cUpdateLocation> m_location;
    QString m_repository;
    QSet<QString> m_languages; // each text is kept once
    QString m_errorString;
};
