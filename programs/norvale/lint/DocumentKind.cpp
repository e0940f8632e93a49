#include "lint/DocumentKind.h"

#include "core/cXmlTreeReader.h"

#include <QtCore/QHash>
#include <QtCore/QString>

namespace {

DocumentKind::Kind kindOfName(const QString& fileName)
{
    static const QHash<QString, DocumentKind::Kind> kinds{{QStringLiteral("Manifest.xml"), DocumentKind::Manifest},
                                                          {QStringLiteral("features.xml"), DocumentKind::Features},
                                                          {QStringLiteral("repository.xml"), DocumentKind::Repository},
                                                          {QStringLiteral("site.xml"), DocumentKind::Site}};
    return kinds.value(fileName, DocumentKind::None);
}

DocumentKind::Kind kindOfContent(const cXmlElement& root)
{
    if (!root.firstChild(u"plugin").isNull())
        return DocumentKind::Manifest;
    if (!root.firstChild(u"repository").isNull())
        return DocumentKind::Site;
    if (!root.firstChild(u"runtime").isNull() || !root.attribute(u"name").isEmpty())
        return DocumentKind::Repository;
    return root.firstChild(u"feature").isNull() ? DocumentKind::None : DocumentKind::Features;
}

} // namespace

DocumentKind::Kind DocumentKind::of(const QString& fileName, const QByteArray& xml)
{
    const Kind named = kindOfName(fileName);
    cXmlTree tree;
    if (named != None || !cXmlTreeReader::read(xml, tree, nullptr))
        return named;
    return kindOfContent(tree.root());
}

bool DocumentKind::isKnownName(const QString& fileName)
{
    return kindOfName(fileName) != None;
}
