#include "config/cCatalogueReader.h"

#include "core/cXmlReader.h"
#include "version/Numbers.h"

#include <QtCore/QXmlStreamReader>

#include <algorithm>
#include <utility>

namespace {

/// Whether they are the same; nearly all that are compared here differ in length.
bool isSame(QStringView one, QStringView other)
{
    return one.size() == other.size() && std::equal(one.begin(), one.end(), other.begin());
}

/// Null when there is no such attribute.
const QXmlStreamAttribute* find(const QXmlStreamAttributes& attributes, QStringView name)
{
    for (const QXmlStreamAttribute& attribute : attributes) {
        if (isSame(attribute.qualifiedName(), name))
            return &attribute;
    }
    return nullptr;
}

QString attribute(const QXmlStreamAttributes& attributes, QStringView name, const QString& absent = QString())
{
    const QXmlStreamAttribute* const found = find(attributes, name);
    return found ? found->value().toString() : absent;
}

/// As a rule a SHA-1.
struct cHash
{
    explicit cHash(QStringView text);
    QByteArray bytes() const { return QByteArray(digest.constData(), digest.size()); }

    bool isSha1 = false;
    QVarLengthArray<char, Sha1Size> digest;
    QString fault; // why the text is no hash; empty when it is one
};

cHash::cHash(QStringView text) : digest(Sha1Size)
{
    const QStringView digits = text.trimmed();
    isSha1 = digits.size() == 2 * Sha1Size && readHex(digits, digest.data());
    if (isSha1)
        return;
    // The decoding takes any text.
    const QByteArray decoded = QByteArray::fromHex(text.toLatin1());
    digest.resize(0);
    digest.append(decoded.constData(), decoded.size());
    fault = QStringLiteral("its hash \"%1\" is no SHA-1 hash in 40 hexadecimal digits").arg(text);
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
        {Place::Feature, u"notes", Place::Notes},
        {Place::Plugin, u"delta", Place::Delta},
    };
    for (const auto& child : Children) {
        if (child.parent == parent && isSame(child.tag, tag))
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
    case Place::Delta:
        return beginDelta(attributes);
    case Place::Notes:
        m_noteVersion = find(attributes, u"version") ? versionOf(attributes) : m_feature->version();
        [[fallthrough]];
    case Place::DisplayName:
        // A few languages name many features.
        m_language = sharedLanguage(attributes);
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
    m_text.append(text.utf16(), int(text.size()));
}

void cCatalogueReader::endElement()
{
    switch (m_open.back()) {
    case Place::DisplayName:
        m_feature->setDisplayName(m_language, text().toString());
        break;
    case Place::Notes:
        m_feature->addNote({m_noteVersion, m_language, text().toString()});
        break;
    case Place::Source:
        m_plugin->addSource({m_location, text().toString()});
        break;
    case Place::Hash: {
        const cHash hash(text());
        m_plugin->setHash(hash.digest.constData(), hash.digest.size(), hash.fault);
        break;
    }
    case Place::Delta:
        endDelta();
        break;
    case Place::RuntimeSource:
        // Of a runtime the first source and hash count.
        if (!m_hasRuntimeSource)
            m_runtime.source = text().toString();
        m_hasRuntimeSource = true;
        break;
    case Place::RuntimeHash:
        if (!m_hasRuntimeHash) {
            const cHash hash(text());
            m_runtime.hash = hash.bytes();
            m_runtime.hashFault = hash.fault;
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

cVersion cCatalogueReader::versionOf(const QXmlStreamAttributes& attributes, QStringView name)
{
    const QXmlStreamAttribute* const found = find(attributes, name);
    if (!found)
        return cVersion();
    // There are many versions, and none needs a text of its own.
    m_version.setUnicode(found->value().data(), found->value().size());
    return cVersion(m_version);
}

QString cCatalogueReader::sharedLanguage(const QXmlStreamAttributes& attributes)
{
    const QXmlStreamAttribute* const found = find(attributes, u"lang");
    const QStringView language = found ? QStringView(found->value()) : QStringView(u"en-us");
    const auto known = m_languages.find(language);
    return known != m_languages.end() ? *known : *m_languages.insert(language.toString()).first;
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
    QString name = attribute(attributes, u"name");
    const cVersion version = versionOf(attributes);
    m_feature = m_catalogue.find(name, version).data();
    if (m_feature)
        return;
    const QXmlStreamAttribute* const active = find(attributes, u"active");
    const bool isActive = active && active->value() == QLatin1String("true");
    auto feature = QSharedPointer<cFeatureInstance>::create(std::move(name), version, isActive,
                                                            attribute(attributes, u"repository", m_repository));
    m_feature = feature.data();
    m_catalogue.append(std::move(feature));
}

void cCatalogueReader::beginPlugin(const QXmlStreamAttributes& attributes)
{
    cPluginId id(attribute(attributes, u"name"), versionOf(attributes));
    m_plugin = m_feature->findPlugin(id).data();
    if (m_plugin)
        return;
    const QXmlStreamAttribute* const size = find(attributes, u"size");
    auto plugin = QSharedPointer<cFeaturePlugin>::create(std::move(id), size ? unsignedNumber(size->value()) : 0);
    m_plugin = plugin.data();
    m_feature->addPlugin(std::move(plugin));
}

void cCatalogueReader::beginDelta(const QXmlStreamAttributes& attributes)
{
    const QXmlStreamAttribute* const size = find(attributes, u"size");
    const QXmlStreamAttribute* const found = find(attributes, u"hash");
    const cHash hash(found ? QStringView(found->value()) : QStringView());
    m_text.resize(0);
    m_delta.from = versionOf(attributes, u"from");
    m_delta.size = size ? unsignedNumber(size->value()) : 0;
    m_delta.hash = hash.isSha1 ? hash.bytes() : QByteArray();
}

// The package can be had without it: what is not given whole does not count.
void cCatalogueReader::endDelta()
{
    if (m_delta.from == cVersion() || m_delta.size == 0 || m_delta.hash.isEmpty() || text().trimmed().isEmpty())
        return;
    m_delta.source = {m_location, text().toString()};
    m_plugin->addDelta(m_delta);
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
