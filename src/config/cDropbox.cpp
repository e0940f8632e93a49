#include "config/cDropbox.h"

#include "config/cCatalogueReader.h"
#include "config/cCatalogueWriter.h"
#include "core/Files.h"
#include "version/cPluginId.h"

#include <Norvale/Corvane.h>

#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QRegularExpression>
#include <QtCore/QSet>

#include <algorithm>

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

QStringList packagesOf(const cFeatureCatalogue& update)
{
    QStringList names;
    for (const QSharedPointer<cFeatureInstance>& feature : update.features()) {
        for (const QSharedPointer<cFeaturePlugin>& plugin : feature->plugins()) {
            if (plugin->id().isSafe())
                names.append(plugin->id().packageFileName());
        }
    }
    return names;
}

/// In the form that counts where a file keeps the case that it was first written with.
QSet<QString> caseless(const QStringList& names)
{
    QSet<QString> set;
    for (const QString& name : names)
        set.insert(caselessFileName(name));
    return set;
}

/// The name of the file that @p fileName has been written aside for: replaceFile() appends six characters, which stay
/// when its process is killed. The name itself when it has no such end.
QString writtenFor(const QString& fileName)
{
    static const QRegularExpression end(QStringLiteral("\\.[A-Za-z0-9]{6}\\z"));
    QString name = fileName;
    return name.remove(end);
}

} // namespace

cDropbox::cDropbox()
    : m_folder(Corvane::velmiraFolderOrFile(Corvane::DropboxFolder))
    , m_description(Corvane::velmiraFolderOrFile(Corvane::DropboxRepositoryFile))
    , m_list(path(QStringLiteral(".packages")))
{
}

bool cDropbox::holds(const cFeaturePlugin& plugin) const
{
    QFile file(path(plugin.id().packageFileName()));
    QCryptographicHash digest(QCryptographicHash::Sha1);
    return plugin.hashFault().isEmpty() && !plugin.hash().isEmpty() && QFileInfo(file).isFile() &&
           file.open(QIODevice::ReadOnly) && digest.addData(&file) && digest.result() == plugin.hash();
}

QByteArray cDropbox::packageOf(const cFeaturePlugin& plugin) const
{
    QByteArray package;
    (void)readFile(path(plugin.id().packageFileName()), package, nullptr);
    return package;
}

bool cDropbox::store(const cFeaturePlugin& plugin, QString* error)
{
    const QString file = path(plugin.id().packageFileName());
    if (!enlist({plugin.id().packageFileName()}, error))
        return false;
    if (QFile::exists(file) && hasUpdate() && !removeDescription()) {
        *error = QStringLiteral("%1 cannot be removed: %2").arg(m_description, causeOfSystem(m_description));
        return false;
    }
    return replaceFile(file, plugin.packageData(), error);
}

bool cDropbox::commit(const cFeatureCatalogue& update, QString* error)
{
    if (!enlist({}, error))
        return false;
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
    const QStringList known = listed() + described();
    return removeDescription() ? tidy(known, cFeatureCatalogue()) : m_description;
}

QStringList cDropbox::listed() const
{
    QByteArray text;
    (void)readFile(m_list, text, nullptr);
    return QString::fromUtf8(text).split(QLatin1Char('\n'), Qt::SkipEmptyParts);
}

QStringList cDropbox::described() const
{
    QByteArray xml;
    cFeatureCatalogue description;
    const bool isRead = readFile(m_description, xml, nullptr) && cCatalogueReader(description).read(xml);
    return isRead ? packagesOf(description) : QStringList();
}

bool cDropbox::enlist(QStringList names, QString* error)
{
    const QStringList before = listed();
    names = m_isDescribedListed ? before + names : existing(before) + described() + names;
    names.removeDuplicates();
    m_isDescribedListed = names == before || replaceFile(m_list, names.join(QLatin1Char('\n')).toUtf8() + '\n', error);
    return m_isDescribedListed;
}

QStringList cDropbox::existing(QStringList names) const
{
    const auto isGone = [&](const QString& name) { return !QFile::exists(path(name)); };
    names.erase(std::remove_if(names.begin(), names.end(), isGone), names.end());
    return names;
}

QString cDropbox::tidy(const cFeatureCatalogue& update)
{
    return tidy(listed() + described(), update);
}

QString cDropbox::tidy(const QStringList& known, const cFeatureCatalogue& update)
{
    const QSet<QString> packages = caseless(known);
    const QSet<QString> wanted = caseless(packagesOf(update));
    const QStringList own{QFileInfo(m_description).fileName(), QFileInfo(m_list).fileName()};
    QStringList left;
    QStringList staying;
    const QStringList files = QDir(m_folder).entryList(QDir::Files | QDir::Hidden | QDir::System);
    for (const QString& file : files) {
        const QString name = writtenFor(file);
        const bool isRest = name != file && (packages.contains(caselessFileName(name)) || own.contains(name));
        if (!isRest && !packages.contains(caselessFileName(file)))
            continue;
        if (!isRest && wanted.contains(caselessFileName(file)))
            staying.append(file);
        else if (!QFile::remove(path(file)))
            left.append(file);
    }
    if (!updateList(staying + left))
        left.append(QFileInfo(m_list).fileName());
    return left.join(QLatin1String(", "));
}

/// Keeps on the list what stays in the folder, whatever becomes of the description.
bool cDropbox::updateList(const QStringList& staying)
{
    if (staying.isEmpty())
        return !QFile::exists(m_list) || QFile::remove(m_list);
    const QSet<QString> names = caseless(listed());
    const auto isListed = [&](const QString& name) { return names.contains(caselessFileName(name)); };
    return std::all_of(staying.begin(), staying.end(), isListed) || enlist(staying, nullptr);
}
