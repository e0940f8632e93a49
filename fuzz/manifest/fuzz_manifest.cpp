// Reads the bytes as a plugin's Manifest.xml, and orders plugins made of what they say.

#include "core/cXmlReader.h"
#include "core/cXmlTree.h"
#include "plugins/cDependencyOrder.h"
#include "plugins/cManifest.h"
#include "plugins/cManifestReader.h"
#include "plugins/cVariableExpander.h"

#include <cstdint>
#include <cstdlib>

namespace {

void require(bool isTrue)
{
    if (!isTrue)
        std::abort();
}

void checkManifest(const cManifest& manifest)
{
    for (const QString& service : manifest.services)
        require(!service.isEmpty());
    for (const QString& dependency : manifest.dependencies)
        require(!dependency.isEmpty() && !dependency.startsWith(QLatin1String("Core:")));
}

// The plugins are named after the services, and each gets the dependencies from its own place on.
void checkOrder(const cManifest& manifest)
{
    const int count = qMin(manifest.services.size(), 200);
    cDependencyOrder order;
    for (int i = 0; i < count; ++i)
        order.addRecord(manifest.services.at(i), manifest.dependencies.mid(i, 20));
    const int placed = order.order().size();
    require((placed == count) == order.faults().isEmpty());
}

bool isEqual(const cXmlElement& left, const cXmlElement& right)
{
    if (left.isNull() || right.isNull())
        return left.isNull() && right.isNull();
    if (left.tag() != right.tag() || left.text() != right.text())
        return false;
    cXmlElement other = right.firstChild();
    for (cXmlElement child = left.firstChild(); !child.isNull(); child = child.nextSibling()) {
        if (!isEqual(child, other))
            return false;
        other = other.nextSibling();
    }
    return other.isNull();
}

void checkPlainWay(const QByteArray& bytes)
{
    cXmlTree plain;
    cXmlTree byDom;
    if (cXmlReader::readPlain(bytes, plain))
        require(cXmlReader::readByDom(bytes, byDom, nullptr) && isEqual(plain.root(), byDom.root()));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), int(size));
    const cPluginId plugin(QStringLiteral("$(PluginDir)"), cVersion(QStringLiteral("1.2.3")));
    const QString folder = QStringLiteral("/suite/$(PluginName)");
    cManifest manifest;
    cManifestReader reader(plugin, folder, manifest);
    const bool isRead = reader.read(bytes, QStringLiteral("Manifest.xml"));
    require(isRead == reader.errorString().isEmpty());
    checkManifest(manifest);
    checkOrder(manifest);
    checkPlainWay(bytes);

    const QString text = QString::fromLatin1(bytes);
    const QString expanded = cVariableExpander(plugin, folder).expand(text);
    require(expanded.size() <= text.size() + cVariableExpander::MaxGrowth);
    return 0;
}
