#include "config/cDropbox.h"

#include "config/cCatalogueReader.h"
#include "config/cCatalogueWriter.h"
#include "core/Files.h"
#include "version/cPluginId.h"

#include <Norvale/Corvane.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>

namespace {

/// The feature as the description holds it: without sources, since its packages lie beside it.
QSharedPointer<cFeatureInstance> withoutSources(const cFeatureInstance& feature)
{
    const QSharedPointer<cFeatureInstance> copy = feature.copy(feature.version());
    for (const QSharedPointer<cFeaturePlugin>& plugin : feature.plugins()) {
        const auto entry = QSharedPointer<cFeaturePlugin>::create(plugin->id(), plugin->size());
        entry->setHash(plugin->hash());
        copy->addPlugin(entry);
    }
    return copy;
}

/// In the form that counts where a file keeps the case that it was first written with.
QSet<QString> packagesOf(const cFeatureCatalogue& update)
{
    QSet<QString> names;
    for (const QSharedPointer<cFeatureInstance>& feature : update.features()) {
        for (const QSharedPointer<cFeaturePlugin>& plugin : feature->plugins())
            names.insert(caselessFileName(plugin->id().packageFileName()));
    }
    return names;
}

/// A package, or what replaceFile() has written aside when its process was killed: the name and six characters.
bool isOurs(const QString& fileName)
{
    static const QRegularExpression names(
        QStringLiteral("^(.*\\.zip|.*\\.zip\\.[A-Za-z0-9]{6}|repository\\.xml\\.[A-Za-z0-9]{6})$"),
        QRegularExpression::DotMatchesEverythingOption);
    return names.match(fileName).hasMatch();
}

} // namespace

cDropbox::cDropbox()
    : m_folder(Corvane::velmiraFolderOrFile(Corvane::DropboxFolder))
    , m_description(Corvane::velmiraFolderOrFile(Corvane::DropboxRepositoryFile))
{
}

bool cDropbox::holds(const cFeaturePlugin& plugin) const
{
    QFile file(path(plugin.id().packageFileName()));
    QCryptographicHash digest(QCryptographicHash::Sha1);
    return !plugin.hash().isEmpty() && QFileInfo(file).isFile() && file.open(QIODevice::ReadOnly) &&
           digest.addData(&file) && digest.result() == plugin.hash();
}

bool cDropbox::store(const cFeaturePlugin& plugin, QString* error)
{
    const QString file = path(plugin.id().packageFileName());
    if (QFile::exists(file) && hasUpdate() && !removeDescription()) {
        *error = QStringLiteral("%1 cannot be removed").arg(m_description);
        return false;
    }
    return replaceFile(file, plugin.packageData(), error);
}

bool cDropbox::commit(const cFeatureCatalogue& update, QString* error)
{
    cFeatureCatalogue description = update;
    description.clear();
    for (const QSharedPointer<cFeatureInstance>& feature : update.features())
        description.append(withoutSources(*feature));
    return replaceFile(m_description, cCatalogueWriter::repository(description), error);
}

bool cDropbox::hasUpdate() const
{
    return QFile::exists(m_description);
}

bool cDropbox::removeDescription()
{
    return QFile::remove(m_description) && flushFolder(m_folder);
}

QString cDropbox::discard()
{
    QByteArray xml;
    cFeatureCatalogue update;
    const bool isRead = readFile(m_description, xml, nullptr) && cCatalogueReader(update).read(xml);
    if (!removeDescription())
        return m_description;
    const QSet<QString> named = isRead ? packagesOf(update) : QSet<QString>();
    return removeFiles([&](const QString& file) { return named.contains(caselessFileName(file)); });
}

QString cDropbox::removeFiles(const std::function<bool(const QString& file)>& isToGo)
{
    QStringList left;
    const QStringList files = QDir(m_folder).entryList(QDir::Files | QDir::Hidden | QDir::System);
    for (const QString& file : files) {
        if (isToGo(file) && !QFile::remove(path(file)))
            left.append(file);
    }
    return left.join(QLatin1String(", "));
}

QString cDropbox::tidy(const cFeatureCatalogue& update)
{
    const QSet<QString> named = packagesOf(update);
    return removeFiles([&](const QString& file) { return isOurs(file) && !named.contains(caselessFileName(file)); });
}
