#include "config/cCatalogueWriter.h"

#include <initializer_list>
#include <utility>

namespace {

/// Stands for "&#" until all is written: the stream writer has no way to write a character reference in an attribute.
/// A letter for private use, which is itself written as a reference.
constexpr ushort ReferenceMark = 0xe000;

/// A line end or tab in an attribute would be read as a blank, half a character has no form in UTF-8, and Qt's reader
/// takes the last two codes for the end of the document.
bool needsNumber(QChar character)
{
    return character.unicode() < ' ' || character.isSurrogate() || character.unicode() >= 0xfffe ||
           character.unicode() == ReferenceMark;
}

QString marked(const QString& text)
{
    QString marked;
    marked.reserve(text.size());
    for (int i = 0; i < text.size(); ++i) {
        const QChar character = text.at(i);
        const bool isPair = character.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        if (isPair)
            marked.append(character).append(text.at(++i));
        else if (needsNumber(character))
            marked.append(QChar(ReferenceMark)).append(QString::number(character.unicode())).append(QLatin1Char(';'));
        else
            marked.append(character);
    }
    return marked;
}

/// The printed form, but with components beyond 2147483647 as the numbers that read back: negative ones do not.
QString versionText(const cVersion& version)
{
    return QStringLiteral("%1.%2.%3")
        .arg(quint32(version.major()))
        .arg(quint32(version.minor()), 2, 10, QLatin1Char('0'))
        .arg(quint32(version.build()), 3, 10, QLatin1Char('0'));
}

} // namespace

QByteArray cCatalogueWriter::installed(const cFeatureCatalogue::Features& features, const QString& version)
{
    cCatalogueWriter writer("repository");
    writer.attribute("version", version);
    for (const QSharedPointer<cFeatureInstance>& feature : features) {
        writer.beginFeature(*feature, feature->version().toString(), true);
        if (!feature->plugins().isEmpty()) {
            writer.begin("plugins");
            for (const QSharedPointer<cFeaturePlugin>& plugin : feature->plugins()) {
                writer.begin("plugin");
                writer.attribute("name", plugin->name());
                writer.attribute("version", plugin->version().toString());
                writer.end();
            }
            writer.end();
        }
        writer.end();
    }
    return writer.finish();
}

QByteArray cCatalogueWriter::repository(const cFeatureCatalogue& catalogue)
{
    cCatalogueWriter writer("repository");
    writer.attribute("name", catalogue.name());
    writer.attribute("version", versionText(catalogue.version()));
    if (catalogue.hasCoreVersion())
        writer.attribute("core_version", versionText(catalogue.coreVersion()));
    for (const cRuntimeEntry& runtime : catalogue.runtimes())
        writer.writeRuntime(runtime);
    for (const QSharedPointer<cFeatureInstance>& feature : catalogue.features())
        writer.writeFeature(*feature);
    return writer.finish();
}

QByteArray cCatalogueWriter::site(const QList<cSiteEntry>& entries)
{
    cCatalogueWriter writer("site");
    for (const cSiteEntry& entry : entries) {
        writer.begin("repository");
        writer.attribute("config", entry.config);
        writer.attribute("status", entry.status);
        writer.attribute("platform", entry.platform);
        writer.attribute("update", entry.update);
        writer.attribute("content", entry.content);
        writer.end();
    }
    return writer.finish();
}

cCatalogueWriter::cCatalogueWriter(const char* root) : m_xml(&m_bytes)
{
    m_xml.setAutoFormatting(true);
    m_xml.setAutoFormattingIndent(2);
    m_xml.writeStartDocument();
    begin(root);
}

QByteArray cCatalogueWriter::finish()
{
    m_xml.writeEndDocument();
    return m_bytes.replace(QString(QChar(ReferenceMark)).toUtf8(), "&#");
}

void cCatalogueWriter::beginFeature(const cFeatureInstance& feature, const QString& version, bool isActive)
{
    begin("feature");
    attribute("name", feature.name());
    attribute("version", version);
    attribute("active", isActive ? QStringLiteral("true") : QStringLiteral("false"));
    attribute("repository", feature.repository());
    for (const cFeatureInstance::DisplayName& name : feature.displayNames()) {
        begin("displayname");
        attribute("lang", name.language);
        m_xml.writeCharacters(marked(name.text));
        end();
    }
}

void cCatalogueWriter::writeFeature(const cFeatureInstance& feature)
{
    beginFeature(feature, versionText(feature.version()), feature.isActive());
    for (const cFeatureInstance::Note& note : feature.notes()) {
        begin("notes");
        attribute("version", versionText(note.version));
        attribute("lang", note.language);
        m_xml.writeCharacters(marked(note.text));
        end();
    }
    if (!feature.dependencies().isEmpty()) {
        begin("dependencies");
        for (const QString& name : feature.dependencies()) {
            begin("feature");
            attribute("name", name);
            end();
        }
        end();
    }
    if (!feature.plugins().isEmpty()) {
        begin("plugins");
        for (const QSharedPointer<cFeaturePlugin>& plugin : feature.plugins())
            writePlugin(*plugin);
        end();
    }
    end();
}

void cCatalogueWriter::writePlugin(const cFeaturePlugin& plugin)
{
    begin("plugin");
    attribute("name", plugin.name());
    attribute("version", versionText(plugin.version()));
    attribute("size", QString::number(plugin.size()));
    for (const cFeatureSource& source : plugin.sources())
        text("source", source.source);
    writeHash(plugin.hash());
    for (const cFeatureDelta& delta : plugin.deltas()) {
        begin("delta");
        attribute("from", versionText(delta.from));
        attribute("size", QString::number(delta.size));
        attribute("hash", QString::fromLatin1(delta.hash.toHex()));
        m_xml.writeCharacters(marked(delta.source.source));
        end();
    }
    end();
}

void cCatalogueWriter::writeRuntime(const cRuntimeEntry& runtime)
{
    begin("runtime");
    attribute("version", versionText(runtime.version));
    attribute("name", runtime.name);
    text("source", runtime.source);
    writeHash(runtime.hash);
    end();
}

void cCatalogueWriter::writeHash(const QByteArray& digest)
{
    if (digest.isEmpty())
        return;
    begin("hash");
    attribute("method", QStringLiteral("sha1"));
    m_xml.writeCharacters(QString::fromLatin1(digest.toHex()));
    end();
}

void cCatalogueWriter::attribute(const char* name, const QString& value)
{
    m_xml.writeAttribute(QLatin1String(name), marked(value));
}

void cCatalogueWriter::text(const char* tag, const QString& content)
{
    m_xml.writeTextElement(QLatin1String(tag), marked(content));
}
