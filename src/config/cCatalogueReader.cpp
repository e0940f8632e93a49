#include "config/cCatalogueReader.h"

#include "core/cXmlReader.h"

#include <QtCore/QXmlStreamReader>

#include <algorithm>

namespace {

/// Null when there is no such attribute.
const QXmlStreamAttribute* find(const QXmlStreamAttributes& attributes, QStringView name)
{
    for (const QXmlStreamAttribute& attribute : attributes) {
        if (attribute.qualifiedName() == name)
            return &attribute;
    }
    return nullptr;
}

QString attribute(const QXmlStreamAttributes& attributes, QStringView name, const QString& absent = QString())
{
    const QXmlStreamAttribute* const found = find(attributes, name);
    return found ? found->value().toString() : absent;
}

/// A copy without the buffer's reserve, which is used for the next text.
QString textOf(const QString& buffer)
{
    return QString(buffer.constData(), buffer.size());
}

QByteArray digestOf(const QString& text)
{
    return QByteArray::fromHex(text.toLatin1());
}

/// Why @p text is no hash; empty when it is one. The decoding takes any text.
QString hashFault(const QString& text)
{
    constexpr int Digits = 40;
    const QStringView digits = QStringView(text).trimmed();
    const auto isDigit = [](QChar c) {
        return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'f') || (c >= u'A' && c <= u'F');
    };
    if (digits.size() == Digits && std::all_of(digits.begin(), digits.end(), isDigit))
        return QString();
    return QStringLiteral("its hash \"%1\" is no SHA-1 hash in 40 hexadecimal digits").arg(text);
}

} // namespace

cCatalogueReader::cCatalogueReader(cFeatureCatalogue& catalogue, const QSharedPointer<cUpdateLocation>& location)
    : m_catalogue(catalogue), m_before(catalogue), m_location(location)
{
}

bool cCatalogueReader::read(const QByteArray& xml)
{
    // What a document has added to features that were there cannot be taken back when it turns out to have a fault, so
    // it is held against the rules as a whole before.
    return m_before.isEmpty() ? cXmlReader::read(xml, *this, &m_errorString)
                              : cXmlReader::readByDom(xml, *this, &m_errorString);
}

void cCatalogueReader::beginDocument()
{
    m_catalogue = m_before;
    m_open.assign(1, Place::Document);
}

cCatalogueReader::Place cCatalogueReader::placeOf(Place parent, QStringView tag)
{
    static constexpr struct
    {
        Place parent;
        QStringView tag;
        Place place;
    } Children[] = {
        {Place::Plugin, u"source", Place::Source},
        {Place::Plugin, u"hash", Place::Hash},
        {Place::Plugins, u"plugin", Place::Plugin},
        {Place::Feature, u"displayname", Place::DisplayName},
        {Place::Feature, u"dependencies", Place::Dependencies},
        {Place::Feature, u"plugins", Place::Plugins},
        {Place::Dependencies, u"feature", Place::Dependency},
        {Place::Root, u"feature", Place::Feature},
        {Place::Root, u"runtime", Place::Runtime},
        {Place::Runtime, u"source", Place::RuntimeSource},
        {Place::Runtime, u"hash", Place::RuntimeHash},
    };
    for (const auto& child : Children) {
        if (child.parent == parent && child.tag == tag)
            return child.place;
    }
    return parent == Place::Document ? Place::Root : Place::Unknown;
}

void cCatalogueReader::beginElement(QStringView tag, const QXmlStreamAttributes& attributes, int line, int column)
{
    const Place parent = m_open.back();
    m_open.push_back(placeOf(parent, tag));
    switch (m_open.back()) {
    case Place::Root:
        noteRoot(tag, line, column);
        return beginRoot(attributes);
    case Place::Feature:
        return beginFeature(attributes);
    case Place::Dependency:
        return m_feature->addDependency(attribute(attributes, u"name"));
    case Place::Plugin:
        return beginPlugin(attributes);
    case Place::Runtime:
        return beginRuntime(attributes);
    case Place::DisplayName:
        // A few languages name many features.
        m_language = *m_languages.insert(attribute(attributes, u"lang", QStringLiteral("en-us")));
        [[fallthrough]];
    case Place::Source:
    case Place::Hash: // its `method` selects nothing: the digest is always SHA-1
    case Place::RuntimeSource:
    case Place::RuntimeHash:
        m_text.resize(0);
        return;
    case Place::Unknown:
        m_hasOthers = m_hasOthers || parent == Place::Root;
        return;
    default:
        return;
    }
}

// An element's text is all that stands between its beginning and its end, within unknown elements too.
void cCatalogueReader::addCharacters(QStringView text)
{
    m_text.append(text.data(), int(text.size()));
}

void cCatalogueReader::endElement()
{
    switch (m_open.back()) {
    case Place::DisplayName:
        m_feature->setDisplayName(m_language, textOf(m_text));
        break;
    case Place::Source:
        m_plugin->addSource({m_location, textOf(m_text)});
        break;
    case Place::Hash:
        m_plugin->setHash(digestOf(m_text), hashFault(m_text));
        break;
    case Place::RuntimeSource:
        // Of a runtime the first source and hash count.
        if (!m_hasRuntimeSource)
            m_runtime.source = textOf(m_text);
        m_hasRuntimeSource = true;
        break;
    case Place::RuntimeHash:
        if (!m_hasRuntimeHash) {
            m_runtime.hash = digestOf(m_text);
            m_runtime.hashFault = hashFault(m_text);
        }
        m_hasRuntimeHash = true;
        break;
    case Place::Runtime:
        m_catalogue.append(m_runtime);
        break;
    default:
        break;
    }
    m_open.pop_back();
}

cVersion cCatalogueReader::versionOf(const QXmlStreamAttributes& attributes)
{
    const QXmlStreamAttribute* const found = find(attributes, u"version");
    if (!found)
        return cVersion();
    m_text.resize(0); // there are many versions, and none needs a text of its own
    addCharacters(found->value());
    return cVersion(m_text);
}

void cCatalogueReader::noteRoot(QStringView tag, int line, int column)
{
    m_hasEntries = false;
    m_hasOthers = false;
    m_foreignRoot.clear();
    if (tag != u"repository")
        m_foreignRoot = QStringLiteral("line %1, column %2: a document of another kind, its root is \"%3\"")
                            .arg(QString::number(line), QString::number(column), tag);
}

void cCatalogueReader::beginRoot(const QXmlStreamAttributes& attributes)
{
    m_repository = attribute(attributes, u"name");
    m_catalogue.setName(m_repository);
    m_catalogue.setVersion(versionOf(attributes));
    const QString coreVersion = attribute(attributes, u"core_version");
    if (coreVersion.isEmpty())
        m_catalogue.clearCoreVersion();
    else
        m_catalogue.setCoreVersion(cVersion(coreVersion));
}

void cCatalogueReader::beginFeature(const QXmlStreamAttributes& attributes)
{
    m_hasEntries = true;
    const QString name = attribute(attributes, u"name");
    const cVersion version = versionOf(attributes);
    m_feature = m_catalogue.find(name, version);
    if (m_feature)
        return;
    const QXmlStreamAttribute* const active = find(attributes, u"active");
    const bool isActive = active && active->value() == QLatin1String("true");
    m_feature = QSharedPointer<cFeatureInstance>::create(name, version, isActive,
                                                         attribute(attributes, u"repository", m_repository));
    m_catalogue.append(m_feature);
}

void cCatalogueReader::beginPlugin(const QXmlStreamAttributes& attributes)
{
    const cPluginId id(attribute(attributes, u"name"), versionOf(attributes));
    m_plugin = m_feature->findPlugin(id);
    if (m_plugin)
        return;
    const QXmlStreamAttribute* const size = find(attributes, u"size");
    m_plugin = QSharedPointer<cFeaturePlugin>::create(id, size ? size->value().toUInt() : 0);
    m_feature->addPlugin(m_plugin);
}

void cCatalogueReader::beginRuntime(const QXmlStreamAttributes& attributes)
{
    m_hasEntries = true;
    m_runtime = cRuntimeEntry();
    m_runtime.version = versionOf(attributes);
    m_runtime.name = attribute(attributes, u"name");
    m_hasRuntimeHash = false;
    m_hasRuntimeSource = false;
}
