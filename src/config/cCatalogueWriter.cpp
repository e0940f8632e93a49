#include "config/cCatalogueWriter.h"

#include "config/cFeatureInstance.h"

QDomDocument cCatalogueWriter::document(const Features& features, const QString& version)
{
    QDomDocument document;
    QDomElement root = document.createElement(QStringLiteral("repository"));
    root.setAttribute(QStringLiteral("version"), version);
    for (const QSharedPointer<cFeatureInstance>& feature : features)
        root.appendChild(featureElement(document, *feature));
    document.appendChild(root);
    return document;
}

QDomElement cCatalogueWriter::featureElement(QDomDocument& document, const cFeatureInstance& feature)
{
    QDomElement element = document.createElement(QStringLiteral("feature"));
    element.setAttribute(QStringLiteral("name"), feature.name());
    element.setAttribute(QStringLiteral("version"), feature.version().toString());
    element.setAttribute(QStringLiteral("active"), QStringLiteral("true"));
    element.setAttribute(QStringLiteral("repository"), feature.repository());
    appendDisplayNames(document, element, feature);
    appendPlugins(document, element, feature);
    return element;
}

void cCatalogueWriter::appendDisplayNames(QDomDocument& document, QDomElement& parent, const cFeatureInstance& feature)
{
    const QMap<cFeatureInstance::DisplayKey, QString>& names = feature.displayNames();
    for (auto it = names.begin(); it != names.end(); ++it) {
        QDomElement element = document.createElement(it.key().first);
        element.setAttribute(QStringLiteral("lang"), it.key().second);
        element.appendChild(document.createTextNode(it.value()));
        parent.appendChild(element);
    }
}

void cCatalogueWriter::appendPlugins(QDomDocument& document, QDomElement& parent, const cFeatureInstance& feature)
{
    if (feature.plugins().isEmpty())
        return;
    QDomElement plugins = document.createElement(QStringLiteral("plugins"));
    for (const QSharedPointer<cFeaturePlugin>& plugin : feature.plugins()) {
        QDomElement element = document.createElement(QStringLiteral("plugin"));
        element.setAttribute(QStringLiteral("name"), plugin->name());
        element.setAttribute(QStringLiteral("version"), plugin->version().toString());
        plugins.appendChild(element);
    }
    parent.appendChild(plugins);
}
