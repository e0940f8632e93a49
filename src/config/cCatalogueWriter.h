#pragma once

#include <QtCore/QSharedPointer>
#include <QtCore/QVector>
#include <QtXml/QDomDocument>

class cFeatureInstance;
class cFeaturePlugin;

/**
 * Makes the document of the features file. It is not the inverse of the reader: it holds what the installed state
 * needs. Every feature is active; dependencies, sizes, sources and hashes are left out.
 */
class cCatalogueWriter
{
public:
    using Features = QVector<QSharedPointer<cFeatureInstance>>;

    cCatalogueWriter() = delete;

    /// A fresh document with @p version as the root's version.
    static QDomDocument document(const Features& features, const QString& version);

private:
    static QDomElement featureElement(QDomDocument& document, const cFeatureInstance& feature);
    static void appendDisplayNames(QDomDocument& document, QDomElement& parent, const cFeatureInstance& feature);
    static void appendPlugins(QDomDocument& document, QDomElement& parent, const cFeatureInstance& feature);
};
