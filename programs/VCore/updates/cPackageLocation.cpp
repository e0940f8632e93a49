#include "updates/cPackageLocation.h"

#include <Norvale/Corvane.h>
#include <Norvale/IConfigMgr.h>

#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QSettings>
#include <QtCore/QUrl>
#include <QtCore/QXmlStreamWriter>

namespace {

const QString DevelopmentFeature = QStringLiteral("VelmDev");

struct Identity
{
    QString name;
    QString version;
};

// "Foo-1.02.003", as the installed features name their plugins and packages are named, too.
Identity identityOf(const QString& text)
{
    static const QRegularExpression form(QStringLiteral("^(.+)-(\\d+(?:\\.\\d+){0,2})$"));
    const QRegularExpressionMatch match = form.match(text);
    return {match.captured(1), match.captured(2)};
}

cFeatureInfo installedDevelopment()
{
    for (const cFeatureInfo& feature : IConfigMgr::installedFeatures()) {
        if (feature.name == DevelopmentFeature)
            return feature;
    }
    return {};
}

QString nextVersion(const cVersion& version)
{
    return QStringLiteral("%1.%2.%3").arg(version.major()).arg(version.minor()).arg(version.build() + 1);
}

void writePlugin(QXmlStreamWriter& xml, const Identity& plugin, const QUrl& source)
{
    xml.writeStartElement(QStringLiteral("plugin"));
    xml.writeAttribute(QStringLiteral("name"), plugin.name);
    xml.writeAttribute(QStringLiteral("version"), plugin.version);
    if (source.isValid())
        xml.writeTextElement(QStringLiteral("source"), source.toString(QUrl::FullyEncoded));
    xml.writeEndElement();
}

void writeDescription(QIODevice* device, const Identity& package, const QUrl& source)
{
    const QSettings machine(QSettings::SystemScope, QStringLiteral("Varkel"), QStringLiteral("Pelmora"));
    const cFeatureInfo before = installedDevelopment();
    QXmlStreamWriter xml(device);
    xml.writeStartDocument();
    xml.writeStartElement(QStringLiteral("repository"));
    xml.writeAttribute(QStringLiteral("name"),
                       machine.value(QStringLiteral("ConfigMgr/RepositoryName"), DevelopmentFeature).toString());
    xml.writeAttribute(QStringLiteral("version"), Corvane::currentVersion());
    xml.writeStartElement(QStringLiteral("feature"));
    xml.writeAttribute(QStringLiteral("name"), DevelopmentFeature);
    xml.writeAttribute(QStringLiteral("version"), nextVersion(before.version));
    xml.writeStartElement(QStringLiteral("plugins"));
    for (const QString& plugin : before.plugins) {
        if (identityOf(plugin).name != package.name)
            writePlugin(xml, identityOf(plugin), QUrl());
    }
    writePlugin(xml, package, source);
    xml.writeEndDocument();
}

} // namespace

bool cPackageLocation::isPackage(const QString& path)
{
    return path.endsWith(QLatin1String(".zip"), Qt::CaseInsensitive);
}

bool cPackageLocation::describe(const QString& path)
{
    const Identity package = identityOf(QFileInfo(path).completeBaseName());
    if (!QFileInfo(path).isFile()) {
        m_error = QStringLiteral("%1 is no file").arg(path);
        return false;
    }
    if (package.name.isEmpty()) {
        m_error = QStringLiteral("%1 is not named NAME-VERSION.zip, as packages are").arg(path);
        return false;
    }
    QFile file(this->path());
    if (!file.open(QIODevice::WriteOnly)) {
        m_error = QStringLiteral("cannot write %1: %2").arg(file.fileName(), file.errorString());
        return false;
    }
    writeDescription(&file, package, QUrl::fromLocalFile(path));
    return true;
}
