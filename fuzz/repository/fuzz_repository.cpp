// Any bytes are read as a repository description, features and runtimes alike, or refused with a reason.
// The runtime taken is the first of the newest, and its source lies on the host of the repository. What was read,
// written and read back is the same.

#include "config/cCatalogueReader.h"
#include "config/cCatalogueWriter.h"
#include "config/cFeatureCatalogue.h"
#include "core/cXmlGuard.h"

#include <QtXml/QDomDocument>

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void require(bool isTrue, const char* claim)
{
    if (isTrue)
        return;
    std::fprintf(stderr, "not so: %s\n", claim);
    std::abort();
}

/// A repository beside its site, as an entry of one leads to it.
const QSharedPointer<cUpdateLocation>& location()
{
    static const auto here = QSharedPointer<cUpdateLocation>::create(QUrl(QStringLiteral("http://host/site/main")));
    return here;
}

void requireOnHost(const QUrl& url)
{
    require(url.scheme() == QLatin1String("http") && url.host() == QLatin1String("host"),
            "a source cannot lead to another host");
}

void checkRuntime(const QByteArray& xml, const cRuntimeInfo& runtime)
{
    QDomDocument document;
    require(cXmlGuard::readDom(xml, document, nullptr), "a document is read as often as asked");
    cVersion newest;
    QString name;
    const QDomNodeList children = document.documentElement().childNodes();
    for (int i = 0; i < children.size(); ++i) {
        const QDomElement element = children.at(i).toElement();
        const cVersion version(element.attribute(QStringLiteral("version")));
        if (element.tagName() != QLatin1String("runtime") || !(newest < version))
            continue;
        newest = version;
        name = element.attribute(QStringLiteral("name"));
    }
    require(runtime.version() == newest && runtime.name() == name, "the first of the newest is taken");
    if (cVersion() < newest)
        requireOnHost(runtime.source());
}

/// The reader drops texts that are nothing but white space, which character references can make.
QString kept(const QString& text)
{
    return text.trimmed().isEmpty() ? QString() : text;
}

void requireSame(const cFeatureDelta& was, const cFeatureDelta& is)
{
    require(is.from == was.from && is.size == was.size && is.hash == was.hash, "a delta keeps what it says");
    require(is.source.source == was.source.source, "a delta keeps its path");
}

void requireSame(const cFeaturePlugin& was, const cFeaturePlugin& is)
{
    require(is.id() == was.id() && is.size() == was.size(), "a plugin keeps its name, version and size");
    require(is.hash() == was.hash() && is.sources().size() == was.sources().size(), "a plugin keeps hash and sources");
    for (int i = 0; i < is.sources().size(); ++i)
        require(is.sources().at(i).source == kept(was.sources().at(i).source), "a source keeps its text");
    require(is.deltas().size() == was.deltas().size(), "a plugin keeps its deltas");
    for (int i = 0; i < is.deltas().size(); ++i)
        requireSame(was.deltas().at(i), is.deltas().at(i));
}

void requireSame(const cFeatureInstance& was, const cFeatureInstance& is)
{
    require(is.name() == was.name() && is.version() == was.version() && is.isActive() == was.isActive(),
            "a feature keeps its name, version and flag");
    require(is.repository() == was.repository() && is.dependencies() == was.dependencies(),
            "a feature keeps its repository and dependencies");
    require(is.displayNames().size() == was.displayNames().size(), "a feature keeps its languages");
    for (int i = 0; i < is.displayNames().size(); ++i) {
        const auto& name = is.displayNames().at(i);
        require(name.language == was.displayNames().at(i).language, "a feature keeps its languages");
        require(name.text == kept(was.displayNames().at(i).text), "a feature keeps its display names");
    }
    require(is.notes().size() == was.notes().size(), "a feature keeps its notes");
    for (int i = 0; i < is.notes().size(); ++i) {
        const auto& note = is.notes().at(i);
        require(note.version == was.notes().at(i).version && note.language == was.notes().at(i).language,
                "a note keeps its version and language");
        require(note.text == kept(was.notes().at(i).text), "a note keeps its text");
    }
    require(is.plugins().size() == was.plugins().size(), "a feature keeps its plugins");
    for (int i = 0; i < is.plugins().size(); ++i)
        requireSame(*was.plugins().at(i), *is.plugins().at(i));
}

void requireSame(const cRuntimeEntry& was, const cRuntimeEntry& is)
{
    require(is.version == was.version && is.name == was.name && is.hash == was.hash,
            "a runtime keeps its version, name and hash");
    require(is.source == kept(was.source), "a runtime keeps its source");
}

void requireSameWhenWritten(const cFeatureCatalogue& was)
{
    const QByteArray xml = cCatalogueWriter::repository(was);
    cFeatureCatalogue is;
    require(cCatalogueReader(is, location()).read(xml), "what is written can be read");
    require(is.name() == was.name() && is.version() == was.version(), "a catalogue keeps its name and version");
    require(is.hasCoreVersion() == was.hasCoreVersion() && is.coreVersion() == was.coreVersion(),
            "a catalogue keeps its core version");
    require(is.runtimes().size() == was.runtimes().size(), "every runtime is written");
    for (int i = 0; i < is.runtimes().size(); ++i)
        requireSame(was.runtimes().at(i), is.runtimes().at(i));
    require(is.features().size() == was.features().size(), "every feature is written");
    for (int i = 0; i < is.features().size(); ++i)
        requireSame(*was.features().at(i), *is.features().at(i));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray xml(reinterpret_cast<const char*>(data), int(size));
    cFeatureCatalogue catalogue;
    cCatalogueReader reader(catalogue, location());
    if (!reader.read(xml)) {
        require(!reader.errorString().isEmpty() && catalogue.isEmpty() && catalogue.runtimes().isEmpty(),
                "a refused document leaves a reason only");
        return 0;
    }
    cRuntimeInfo runtime;
    runtime.takeNewest(catalogue, *location());
    if (size < 10000)
        checkRuntime(xml, runtime); // its look-up by number is quadratic
    for (const auto& feature : catalogue.features()) {
        for (const auto& plugin : feature->plugins()) {
            for (const cFeatureSource& source : plugin->sources())
                requireOnHost(source.location->resolve(source.source));
            for (const cFeatureDelta& delta : plugin->deltas())
                requireOnHost(delta.source.location->resolve(delta.source.source));
        }
    }
    requireSameWhenWritten(catalogue);
    const QUrl source = runtime.source();
    runtime.takeNewest(catalogue, *location());
    require(runtime.source() == source, "taking it again changes nothing");
    return 0;
}
