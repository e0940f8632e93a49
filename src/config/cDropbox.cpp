#include "config/cDropbox.h"

#include "config/cCatalogueReader.h"
#include "config/cCatalogueWriter.h"
#include "config/cFetch.h"
#include "core/Files.h"
#include "version/cPluginId.h"

#include <Norvale/Corvane.h>

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

/// The name of the file that is fetched, if @p fileName is a part of it, or what lies beside a part.
QString fetchedFor(const QString& fileName)
{
    static const QStringList ends = cFetch::restsOf(QString());
    const auto end = std::find_if(ends.begin(), ends.end(), [&](const QString& end) { return fileName.endsWith(end); });
    return end == ends.end() ? fileName : fileName.chopped(end->size());
}

/// The name of the package that @p fileName is a rest of, or its patch; the name itself when it is none.
QString packageFor(const QString& fileName)
{
    static const QRegularExpression patch(QStringLiteral("-from-[-0-9.]+\\.delta\\z"));
    QString name = fetchedFor(fileName);
    if (name == fileName)
        name = fetchedFor(writtenFor(fileName));
    return name.replace(patch, QStringLiteral(".zip"));
}

} // namespace

cDropbox::cDropbox()
    : m_folder(Corvane::velmiraFolderOrFile(Corvane::DropboxFolder))
    , m_description(Corvane::velmiraFolderOrFile(Corvane::DropboxRepositoryFile))
    , m_list(path(QStringLiteral(".packages")))
{
}

bool cDropbox::makeWayFor(const QString& package, QString* error)
{
    if (!QFile::exists(path(package)) || !hasUpdate() || removeDescription())
        return true;
    *error = QStringLiteral("%1 cannot be removed: %2").arg(m_description, causeOfSystem(m_description));
    return false;
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
    return !hasUpdate() || removeDescription() ? tidy(known, cFeatureCatalogue()) : m_description;
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

bool cDropbox::enlist(QStringList packages, QString* error)
{
    const QStringList before = listed();
    packages = m_isDescribedListed ? before + packages : existing(before) + described() + packages;
    packages.removeDuplicates();
    m_isDescribedListed =
        packages == before || replaceFile(m_list, packages.join(QLatin1Char('\n')).toUtf8() + '\n', error);
    return m_isDescribedListed;
}

QStringList cDropbox::files() const
{
    return QDir(m_folder).entryList(QDir::Files | QDir::Hidden | QDir::System);
}

QStringList cDropbox::existing(QStringList packages) const
{
    QSet<QString> there;
    for (const QString& file : files())
        there.insert(caselessFileName(packageFor(file)));
    const auto isGone = [&](const QString& package) { return !there.contains(caselessFileName(package)); };
    packages.erase(std::remove_if(packages.begin(), packages.end(), isGone), packages.end());
    return packages;
}

QString cDropbox::tidy(const cFeatureCatalogue& update)
{
    return tidy(listed() + described(), update);
}

QString cDropbox::tidy(const QStringList& known, const cFeatureCatalogue& update)
{
    const QSet<QString> packages = caseless(known);
    const QStringList files = this->files();
    const QSet<QString> wanted = caseless(packagesOf(update));
    const QSet<QString> unfinished = QSet<QString>(wanted).subtract(caseless(files));
    const QStringList own{QFileInfo(m_description).fileName(), QFileInfo(m_list).fileName()};
    QStringList left;
    QStringList staying;
    for (const QString& file : files) {
        const QString name = packageFor(file);
        const bool isOwn = writtenFor(file) != file && own.contains(writtenFor(file));
        if (!packages.contains(caselessFileName(name)) && !isOwn)
            continue;
        if ((name == file ? wanted : unfinished).contains(caselessFileName(name))) {
            staying.append(name);
        } else if (!QFile::remove(path(file))) {
            left.append(file);
            if (!isOwn)
                staying.append(name);
        }
    }
    if (!updateList(staying))
        left.append(QFileInfo(m_list).fileName());
    return left.join(QLatin1String(", "));
}

/// Keeps on the list the packages of which something stays in the folder, whatever becomes of the description.
bool cDropbox::updateList(const QStringList& packages)
{
    if (packages.isEmpty())
        return !QFile::exists(m_list) || QFile::remove(m_list);
    const QSet<QString> names = caseless(listed());
    const auto isListed = [&](const QString& name) { return names.contains(caselessFileName(name)); };
    return std::all_of(packages.begin(), packages.end(), isListed) || enlist(packages, nullptr);
}
