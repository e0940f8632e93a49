// Any bytes are read as a repository description, features and runtime alike, or refused by both readers with a reason.
// The runtime taken is the first of the newest, and its source lies on the host of the repository.

#include "config/cCatalogueReader.h"
#include "config/cFeatureCatalogue.h"
#include "config/cRuntimeInfo.h"
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

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray xml(reinterpret_cast<const char*>(data), int(size));
    cFeatureCatalogue catalogue;
    cRuntimeInfo runtime;
    QString reason;
    const bool isRead = cCatalogueReader(catalogue, location()).read(xml);
    require(runtime.readFrom(xml, *location(), &reason) == isRead, "both readers accept the same");
    if (!isRead) {
        require(!reason.isEmpty() && runtime.version() == cVersion() && catalogue.isEmpty(),
                "a refused document leaves a reason only");
        return 0;
    }
    if (size < 10000)
        checkRuntime(xml, runtime); // its look-up by number is quadratic
    for (const auto& feature : catalogue.features()) {
        for (const auto& plugin : feature->plugins()) {
            for (const cFeatureSource& source : plugin->sources())
                requireOnHost(source.location->resolve(source.source));
        }
    }
    const QUrl source = runtime.source();
    require(runtime.readFrom(xml, *location()) && runtime.source() == source, "reading again changes nothing");
    return 0;
}
