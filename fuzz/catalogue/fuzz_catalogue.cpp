// Any bytes are read as a catalogue document or refused with a reason; what was read, written and read back must hold
// the same installed state.

#include "config/cCatalogueReader.h"
#include "config/cCatalogueWriter.h"
#include "config/cFeatureCatalogue.h"

#include <QtCore/QMap>

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

/// A component beyond 2147483647 prints as a negative number, which reads back as 0.
bool survivesPrinting(const cVersion& version)
{
    return version.major() >= 0 && version.minor() >= 0 && version.build() >= 0;
}

bool survivesPrinting(const cFeatureCatalogue& catalogue)
{
    for (const auto& feature : catalogue.features()) {
        if (!survivesPrinting(feature->version()))
            return false;
        for (const auto& plugin : feature->plugins()) {
            if (!survivesPrinting(plugin->version()))
                return false;
        }
    }
    return true;
}

/// The reader drops texts that are nothing but white space, which character references can make.
QMap<QString, QString> displayNames(const cFeatureInstance& feature)
{
    QMap<QString, QString> names; // by language
    for (const auto& [language, text] : feature.displayNames())
        names.insert(language, text.trimmed().isEmpty() ? QString() : text);
    return names;
}

void compare(const cFeatureInstance& was, const cFeatureInstance& is)
{
    require(is.name() == was.name() && is.version() == was.version(), "a feature keeps its name and version");
    require(is.repository() == was.repository(), "a feature keeps its repository");
    require(is.isActive(), "a written feature is active");
    require(displayNames(is) == displayNames(was), "a feature keeps its display names");
    require(is.plugins().size() == was.plugins().size(), "a feature keeps its plugins");
    for (int i = 0; i < is.plugins().size(); ++i)
        require(is.plugins().at(i)->id() == was.plugins().at(i)->id(), "a plugin keeps its id");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray xml(reinterpret_cast<const char*>(data), int(size));
    cFeatureCatalogue catalogue;
    cCatalogueReader reader(catalogue);
    if (!reader.read(xml)) {
        require(!reader.errorString().isEmpty() && catalogue.isEmpty(), "a refused document leaves a reason only");
        return 0;
    }
    for (const auto& feature : catalogue.features())
        require(catalogue.find(feature->name(), feature->version()) == feature, "name and version are a unique key");
    if (!survivesPrinting(catalogue))
        return 0;

    const QByteArray written = cCatalogueWriter::installed(catalogue.features(), QStringLiteral("1.02.003"));
    cFeatureCatalogue back;
    require(cCatalogueReader(back).read(written), "what is written can be read");
    require(back.version() == cVersion(QStringLiteral("1.2.3")), "the catalogue has the version it was given");
    require(back.features().size() == catalogue.features().size(), "every feature is written");
    for (int i = 0; i < back.features().size(); ++i)
        compare(*catalogue.features().at(i), *back.features().at(i));
    return 0;
}
