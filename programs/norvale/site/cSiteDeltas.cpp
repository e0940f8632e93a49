#include "site/cSiteDeltas.h"

#include "delta/cDeltaMaker.h"
#include "lint/InputFile.h"
#include "site/cRetiredList.h"
#include "site/cSiteState.h"
#include "version/Shown.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonObject>
#include <QtCore/QUrl>

#include <algorithm>

void cSiteDeltas::make(cNewFile& package, int count)
{
    cDeltaMaker maker(package.bytes);
    for (const Older& older : olderThan(package.id)) {
        QByteArray bytes;
        if (count == 0)
            return;
        if (!readKnownFile(older.path, older.hash, &bytes))
            continue;
        --count;
        if (isPublished(package, older.version))
            continue;
        if (maker.make(bytes))
            add(package, older.version, maker.patch());
        else
            m_deltas.append({package.id, older.version, {}, 0, maker.errorString()});
    }
}

// One that is gone, or damaged, is made again.
bool cSiteDeltas::isPublished(cNewFile& package, const cVersion& from) const
{
    const auto delta = std::find_if(package.deltas.begin(), package.deltas.end(),
                                    [&](const cFeatureDelta& published) { return published.from == from; });
    QByteArray bytes;
    if (delta == package.deltas.end())
        return false;
    const QString path = m_state.repositoryFolder() + QLatin1Char('/') + delta->source.source;
    if (!QUrl(delta->source.source).isRelative() || readKnownFile(path, delta->hash, &bytes))
        return true;
    package.deltas.erase(delta);
    return false;
}

// The newest first. A package that was replaced has another place: of such a version there are two, and nobody knows
// which of them an installation has.
QList<cSiteDeltas::Older> cSiteDeltas::olderThan(const cPluginId& id) const
{
    QList<Older> list;
    const auto add = [&](const cPluginId& other, const QByteArray& hash, const QString& path) {
        const QString plain = m_state.repositoryFolder() + QLatin1Char('/') + cRepositoryEdit::packagePlace(other);
        const bool isKnown =
            std::any_of(list.begin(), list.end(), [&](const Older& older) { return older.version == other.version(); });
        if (other.name() == id.name() && other.version() < id.version() && QDir::cleanPath(path) == plain && !isKnown)
            list.append({other.version(), hash, plain});
    };
    for (const cFeatureCatalogue* const catalogue : {&m_state.catalogue(), &m_state.earlier()}) {
        for (const cRepositoryEdit::Feature& feature : catalogue->features()) {
            for (const cRepositoryEdit::Plugin& plugin : feature->plugins())
                add(plugin->id(), plugin->hash(), m_state.localPackage(*plugin));
        }
    }
    for (const cRetired& retired : m_retired.list()) {
        for (const cRetired::Plugin& plugin : retired.plugins)
            add(plugin.id, plugin.hash, m_state.folder() + QLatin1Char('/') + plugin.file);
    }
    std::sort(list.begin(), list.end(), [](const Older& a, const Older& b) { return b.version < a.version; });
    return list;
}

void cSiteDeltas::add(cNewFile& package, const cVersion& from, const QByteArray& bytes)
{
    cNewFile file;
    file.bytes = bytes;
    file.size = bytes.size();
    file.hash = sha1Of(bytes);
    const int name = package.source.lastIndexOf(QLatin1Char('/')) + 1;
    file.source = package.source.left(name) + package.id.deltaFileName(from);
    package.deltas.append({from, quint32(file.size), file.hash, {QSharedPointer<cUpdateLocation>(), file.source}});
    m_deltas.append({package.id, from, file, cDeltaMaker::share(file.size, package.size), QString()});
}

void cSiteDeltas::take(const cFeaturePlugin& plugin, const QString& repository, cNewFile& package)
{
    package.deltas.clear();
    for (const cFeatureDelta& delta : plugin.deltas()) {
        QByteArray bytes;
        if (!QUrl(delta.source.source).isRelative()) {
            package.deltas.append(delta);
            continue;
        }
        const QString path = QDir::cleanPath(repository + QLatin1Char('/') + delta.source.source);
        if (readKnownFile(path, delta.hash, &bytes)) {
            add(package, delta.from, bytes);
        } else {
            m_deltas.append(
                {package.id, delta.from, {}, 0, QStringLiteral("%1 is not what the repository names").arg(path)});
        }
    }
}

QList<cNewFile> cSiteDeltas::files() const
{
    QList<cNewFile> files;
    for (const Delta& delta : m_deltas) {
        if (delta.reason.isEmpty())
            files.append(delta.file);
    }
    return files;
}

QStringList cSiteDeltas::lines() const
{
    QStringList lines;
    for (const Delta& delta : m_deltas) {
        const QString of = QStringLiteral("patch of %1 from %2").arg(delta.plugin.toString(), delta.from.toString());
        if (delta.reason.isEmpty())
            lines.append(QStringLiteral("%1: %2, %3 % of the package")
                             .arg(of, counted(delta.file.size, "byte"))
                             .arg(delta.percent));
        else
            lines.append(QStringLiteral("no %1: %2").arg(of, delta.reason));
    }
    return lines;
}

QJsonArray cSiteDeltas::json() const
{
    QJsonArray list;
    for (const Delta& delta : m_deltas) {
        QJsonObject object{{"plugin", delta.plugin.name()},
                           {"version", delta.plugin.version().toString()},
                           {"from", delta.from.toString()}};
        if (delta.reason.isEmpty()) {
            object["size"] = delta.file.size;
            object["percent"] = delta.percent;
        } else {
            object["reason"] = delta.reason;
        }
        list.append(object);
    }
    return list;
}

QStringList cSiteDeltas::besidePackage(const QString& package)
{
    const QFileInfo info(package);
    const QString begin = info.completeBaseName() + QStringLiteral("-from-");
    QStringList paths;
    for (const QString& name : info.dir().entryList({QStringLiteral("*.delta")}, QDir::Files | QDir::Hidden)) {
        if (name.startsWith(begin))
            paths.append(info.dir().filePath(name));
    }
    return paths;
}
