#include "config/cRepositoryWriter.h"

#include "config/cFeatureCatalogue.h"

namespace {

/// The printed form, but with components beyond 2147483647 as the numbers that read back: negative ones do not.
QString versionText(const cVersion& version)
{
    return QStringLiteral("%1.%2.%3")
        .arg(quint32(version.major()))
        .arg(quint32(version.minor()), 2, 10, QLatin1Char('0'))
        .arg(quint32(version.build()), 3, 10, QLatin1Char('0'));
}

/// A line end or tab in an attribute would be read as a blank, half a character has no form in UTF-8, and Qt's reader
/// takes the last two codes for the end of the document.
bool needsNumber(QChar character)
{
    return character.unicode() < ' ' || character.isSurrogate() || character.unicode() >= 0xfffe;
}

QByteArray escaped(const QString& text)
{
    QString escaped;
    escaped.reserve(text.size() + text.size() / 8);
    for (int i = 0; i < text.size(); ++i) {
        const QChar character = text.at(i);
        const bool isPair = character.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate();
        if (isPair)
            escaped.append(character).append(text.at(++i));
        else if (needsNumber(character))
            escaped.append(QStringLiteral("&#%1;").arg(character.unicode()));
        else if (character == QLatin1Char('<'))
            escaped.append(QLatin1String("&lt;"));
        else if (character == QLatin1Char('>'))
            escaped.append(QLatin1String("&gt;"));
        else if (character == QLatin1Char('&'))
            escaped.append(QLatin1String("&amp;"));
        else if (character == QLatin1Char('"'))
            escaped.append(QLatin1String("&quot;"));
        else
            escaped.append(character);
    }
    return escaped.toUtf8();
}

} // namespace

QByteArray cRepositoryWriter::write(const cFeatureCatalogue& catalogue, const QList<cRuntimeEntry>& runtimes)
{
    cRepositoryWriter writer;
    writer.m_xml = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";
    writer.begin("repository");
    writer.attribute("name", catalogue.name());
    writer.attribute("version", versionText(catalogue.version()));
    if (catalogue.hasCoreVersion())
        writer.attribute("core_version", versionText(catalogue.coreVersion()));
    writer.open();
    for (const cRuntimeEntry& runtime : runtimes)
        writer.writeRuntime(runtime);
    for (const QSharedPointer<cFeatureInstance>& feature : catalogue.features())
        writer.writeFeature(*feature);
    writer.close("repository");
    return writer.m_xml;
}

void cRepositoryWriter::writeFeature(const cFeatureInstance& feature)
{
    begin("feature");
    attribute("name", feature.name());
    attribute("version", versionText(feature.version()));
    attribute("active", feature.isActive() ? QStringLiteral("true") : QStringLiteral("false"));
    attribute("repository", feature.repository());
    open();
    const QMap<cFeatureInstance::DisplayKey, QString>& names = feature.displayNames();
    for (auto it = names.begin(); it != names.end(); ++it) {
        begin("displayname");
        attribute("lang", it.key().second);
        closeWith("displayname", it.value());
    }
    writeDependencies(feature);
    writePlugins(feature);
    close("feature");
}

void cRepositoryWriter::writeDependencies(const cFeatureInstance& feature)
{
    if (feature.dependencies().isEmpty())
        return;
    begin("dependencies");
    open();
    for (const QString& name : feature.dependencies()) {
        begin("feature");
        attribute("name", name);
        closeEmpty();
    }
    close("dependencies");
}

void cRepositoryWriter::writePlugins(const cFeatureInstance& feature)
{
    if (feature.plugins().isEmpty())
        return;
    begin("plugins");
    open();
    for (const QSharedPointer<cFeaturePlugin>& plugin : feature.plugins())
        writePlugin(*plugin);
    close("plugins");
}

void cRepositoryWriter::writePlugin(const cFeaturePlugin& plugin)
{
    begin("plugin");
    attribute("name", plugin.name());
    attribute("version", versionText(plugin.version()));
    attribute("size", QString::number(plugin.size()));
    open();
    for (const cFeatureSource& source : plugin.sources()) {
        begin("source");
        closeWith("source", source.source);
    }
    writeHash(plugin.hash());
    close("plugin");
}

void cRepositoryWriter::writeRuntime(const cRuntimeEntry& runtime)
{
    begin("runtime");
    attribute("version", versionText(runtime.version));
    attribute("name", runtime.name);
    open();
    begin("source");
    closeWith("source", runtime.source);
    writeHash(runtime.hash);
    close("runtime");
}

void cRepositoryWriter::writeHash(const QByteArray& digest)
{
    if (digest.isEmpty())
        return;
    begin("hash");
    attribute("method", QStringLiteral("sha1"));
    closeWith("hash", QString::fromLatin1(digest.toHex()));
}

void cRepositoryWriter::begin(const char* tag)
{
    m_xml.append(2 * m_level, ' ').append('<').append(tag);
}

void cRepositoryWriter::attribute(const char* name, const QString& value)
{
    m_xml.append(' ').append(name).append("=\"").append(escaped(value)).append('"');
}

void cRepositoryWriter::open()
{
    m_xml.append(">\n");
    ++m_level;
}

void cRepositoryWriter::closeEmpty()
{
    m_xml.append("/>\n");
}

void cRepositoryWriter::closeWith(const char* tag, const QString& text)
{
    m_xml.append('>').append(escaped(text)).append("</").append(tag).append(">\n");
}

void cRepositoryWriter::close(const char* tag)
{
    --m_level;
    m_xml.append(2 * m_level, ' ').append("</").append(tag).append(">\n");
}
