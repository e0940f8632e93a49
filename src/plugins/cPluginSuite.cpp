#include "plugins/cPluginSuite.h"

#include "core/Files.h"
#include "plugins/cDependencyOrder.h"
#include "plugins/cPluginDependency.h"
#include "plugins/cPluginReporter.h"
#include "version/Shown.h"
#include "version/cCodeImage.h"

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

#include <algorithm>

int cPluginSuite::numberOf(const cPluginId& id)
{
    const auto [entry, isNew] = m_numbers.try_emplace(id, int(m_records.size()));
    if (isNew) {
        m_records.push_back({Plugin::create(id)});
        m_records.back().plugin->setFolder(Corvane::pluginDir(id).absolutePath());
    }
    return entry->second;
}

void cPluginSuite::clearAllowed()
{
    m_files.reset();
    for (Record& record : m_records)
        record.isRegistered = false;
    m_isStale = true;
}

void cPluginSuite::registerPlugin(const cPluginId& id)
{
    const int number = numberOf(id);
    m_isStale = true;
    m_records[number].isRegistered = true;
    m_loadList.push_back(number);
    QVector<int>& namesakes = m_namesakes[id.name()];
    if (!namesakes.contains(number))
        namesakes.append(number);
}

bool cPluginSuite::publish()
{
    m_reasons.clear();
    if (!m_installed)
        return fail(QStringLiteral("nobody is there to tell which plugins are installed"));
    const bool isPublished = m_installed->publishInstalledPlugins();
    if (!isWhole())
        m_reasons.append(m_installed->publicationError());
    return isPublished;
}

bool cPluginSuite::isCoreInstalled()
{
    return m_installed->isFeatureInstalled(QStringLiteral("Core")) ||
           fail(QStringLiteral("the feature \"Core\" is not installed"));
}

void cPluginSuite::leaveOut(const QStringList& names)
{
    m_leftOut.setNames(names);
    m_isLeftOutTold = false;
    m_isStale = true;
}

bool cPluginSuite::isLeftOut(const Plugin& plugin) const
{
    return !m_leftOut.isNone() && m_leftOut.contains(m_numbers.at(plugin->id()));
}

QString cPluginSuite::whyLeftOut(const Plugin& plugin) const
{
    return m_leftOut.isNone() ? QString() : m_leftOut.reason(m_numbers.at(plugin->id()));
}

// What is left out must be known before anything is judged: the manifests of the others are read for that, once.
void cPluginSuite::findLeftOut()
{
    QVector<cLeftOut::Candidate> candidates;
    QSet<QString> installed;
    for (const Plugin& plugin : m_leftOut.names().isEmpty() ? QVector<Plugin>() : registered()) {
        installed.insert(plugin->name());
        if (!plugin->reconsider())
            continue; // it runs
        m_readAhead[plugin.data()] = plugin->readManifest();
        cLeftOut::Candidate candidate{numberOf(plugin->id()), plugin->name(), {}};
        for (const QString& dependency : plugin->dependencies()) {
            const int number = numberOfCounting(cPluginDependency(dependency).name());
            if (number >= 0)
                candidate.dependencies.push_back(number);
        }
        candidates.append(candidate);
    }
    m_leftOut.find(candidates.isEmpty() ? 0 : int(m_records.size()), candidates);
    if (!m_isLeftOutTold)
        tellLeftOut(installed);
    m_isLeftOutTold = true;
}

void cPluginSuite::tellLeftOut(const QSet<QString>& installed)
{
    for (const QString& name : m_leftOut.names()) {
        if (!installed.contains(name))
            m_reporter.warn(QStringLiteral("plugin \"%1\" cannot be left out: it is not installed").arg(name));
    }
    for (const Plugin& plugin : registered()) {
        if (isLeftOut(plugin))
            m_reporter.info(
                QStringLiteral("%1 does not take part: %2").arg(plugin->id().toString(), whyLeftOut(plugin)));
    }
}

// All faults are found in one go, so that who repairs an installation need not repair and start again for each.
bool cPluginSuite::readManifests()
{
    m_isRead = true;
    m_isStale = false;
    m_rules = cStartRules();
    findLeftOut();
    bool isEveryOneRight = true;
    for (const Plugin& plugin : registered()) {
        if (!isLeftOut(plugin))
            isEveryOneRight = judge(*plugin) && isEveryOneRight;
    }
    m_readAhead.clear();
    tellStates();
    return isEveryOneRight;
}

bool cPluginSuite::judge(cPluginInstance& plugin)
{
    if (!plugin.reconsider())
        return isAcceptable(plugin);
    const auto readAndJudge = [&] {
        const bool isRead = readManifest(plugin);
        for (const QString& warning : plugin.takeManifestWarnings())
            m_reporter.warn(QStringLiteral("the manifest of %1: %2").arg(plugin.id().toString(), warning));
        tellOfChange(plugin);
        return isRead ? isAcceptable(plugin) : fail(cStartRules::unreadable(plugin.id(), plugin.errorString()));
    };
    const bool isAccepted = m_reporter.observe(IPluginObserver::ReadManifest, plugin.name(), readAndJudge);
    plugin.judge(isAccepted);
    if (!isAccepted)
        plugin.setFailure(m_reasons.last());
    return isAccepted;
}

bool cPluginSuite::readManifest(cPluginInstance& plugin)
{
    const auto readAhead = m_readAhead.find(&plugin);
    return readAhead == m_readAhead.end() ? plugin.readManifest() : readAhead->second;
}

bool cPluginSuite::isAcceptable(cPluginInstance& plugin)
{
    const auto fault = m_rules.enter(plugin.id(), plugin.runtimeApiVersion(), plugin.services());
    return !fault || fail(QStringLiteral("%1 (%2)").arg(fault->reason, plugin.manifestFile()));
}

bool cPluginSuite::order()
{
    constexpr int Unlisted = -1;
    cDependencyOrder order;
    QVector<Plugin> listed;
    std::vector<int> places(m_records.size(), Unlisted); // of each record in listed
    order.reserve(int(m_loadList.size()), int(m_loadList.size()));
    for (int number : m_loadList) {
        const Record& record = m_records[number];
        if (!record.isRegistered)
            continue;
        if (places[number] != Unlisted) {
            order.addPlace(places[number]);
            continue;
        }
        record.plugin->setState(0);
        if (m_leftOut.contains(number))
            continue;
        places[number] = order.addRecord(record.plugin->name(), record.plugin->dependencies());
        listed.append(record.plugin);
    }
    const QVector<int> placed = order.order();
    for (int i = 0; i < placed.size(); ++i)
        listed.at(placed.at(i))->setState(i + 1);
    m_whyLeft.clear();
    if (placed.size() != listed.size())
        noteLeft(order, listed);
    tellStates();
    return placed.size() == listed.size();
}

/// Tells why plugins have no place in the order.
void cPluginSuite::noteLeft(const cDependencyOrder& order, const QVector<Plugin>& listed)
{
    QStringList names;
    for (const Plugin& plugin : listed)
        names.append(plugin->name());
    for (const cOrderFault& fault : order.faults()) {
        const QString file = listed.at(fault.records.first())->manifestFile();
        const QString meant = nearestName(fault.absent, names);
        const QString reason =
            fault.isCircle
                ? QStringLiteral("%1; one of these dependencies has to go, such as that in %2").arg(fault.text, file)
            : meant.isEmpty() ? QStringLiteral("%1 (%2)").arg(fault.text, file)
                              : QStringLiteral("%1 (%2); is \"%3\" meant?").arg(fault.text, file, meant);
        fail(QStringLiteral("the plugins cannot be ordered: %1").arg(reason));
        for (int record : fault.records)
            m_whyLeft.try_emplace(listed.at(record).data(), reason);
    }
    for (int i = 0; i < listed.size(); ++i) {
        const int provider = order.firstLeftProvider(i);
        if (listed.at(i)->state() == 0 && provider >= 0)
            m_whyLeft.try_emplace(
                listed.at(i).data(),
                QStringLiteral("waits for \"%1\", which has no place in the start order").arg(names.at(provider)));
    }
}

QString cPluginSuite::failureOf(const cPluginInstance& plugin) const
{
    const auto left = m_whyLeft.find(&plugin);
    const bool isLeft = left != m_whyLeft.end() && plugin.failure().isEmpty();
    return isLeft ? left->second : plugin.failure();
}

void cPluginSuite::tellStates()
{
    for (const Plugin& plugin : registered())
        m_reporter.tellState(*plugin);
}

void cPluginSuite::refresh()
{
    if (!m_isRead || !m_isStale)
        return;
    const bool isSound = readManifests();
    if (!order() || !isSound)
        m_reporter.warn(QStringLiteral("the plugins that are installed now would not start as they are"));
}

QVector<cPluginSuite::Plugin> cPluginSuite::loadList() const
{
    QVector<Plugin> list;
    list.reserve(int(m_loadList.size()));
    for (int number : m_loadList) {
        if (m_records[number].isRegistered)
            list.append(m_records[number].plugin);
    }
    return list;
}

QVector<cPluginSuite::Plugin> cPluginSuite::registered() const
{
    QVector<Plugin> list;
    std::vector<bool> isListed(m_records.size());
    for (int number : m_loadList) {
        if (!m_records[number].isRegistered || isListed[number])
            continue;
        isListed[number] = true;
        list.append(m_records[number].plugin);
    }
    return list;
}

bool cPluginSuite::isRegistered(const Plugin& plugin) const
{
    const auto number = m_numbers.find(plugin->id());
    return number != m_numbers.end() && m_records[number->second].isRegistered;
}

// A plugin that runs counts also when it has been taken down or replaced meanwhile: two of one name never run at once.
cPluginSuite::Plugin cPluginSuite::find(const QString& name) const
{
    const int number = numberOfCounting(name);
    return number < 0 ? Plugin() : m_records[number].plugin;
}

/// The number of the record that find() answers; negative when there is none.
int cPluginSuite::numberOfCounting(const QString& name) const
{
    const auto namesakes = m_namesakes.find(name);
    if (namesakes == m_namesakes.end())
        return -1;
    int found = -1;
    for (int number : namesakes->second) {
        const Record& record = m_records[number];
        if (record.plugin->isLibraryLoaded())
            return number;
        if (found < 0 && record.isRegistered)
            found = number;
    }
    return found;
}

QString cPluginSuite::ownerOf(const QString& service) const
{
    if (const QString* const owner = m_rules.ownerOf(service))
        return *owner;
    if (m_leftOut.isNone())
        return QString();
    for (const Plugin& plugin : registered()) {
        if (isLeftOut(plugin) && plugin->services().contains(service))
            return plugin->name();
    }
    return QString();
}

QString cPluginSuite::libraryChange(const cPluginInstance& plugin)
{
    const QString path = plugin.libraryFile();
    const QString difference = path.isEmpty() ? QString() : changeOf(plugin, path);
    const QString text = QStringLiteral("its library %1 %2; the plugin has to be repaired or installed anew");
    return difference.isEmpty() ? QString() : text.arg(path, difference);
}

QString cPluginSuite::changeOf(const cPluginInstance& plugin, const QString& path)
{
    if (!m_files) {
        m_files.emplace();
        if (!m_files->read())
            m_reporter.warn(QStringLiteral("installed files are used unchecked: %1").arg(m_files->errorString()));
    }
    if (!m_files->contains(plugin.id()) || m_installed->isInDevelopment(plugin.id()))
        return QString();
    const cFileRecord::Files files = m_files->files(plugin.id());
    const auto file = files.constFind(QDir(plugin.folder()).relativeFilePath(path));
    return file == files.constEnd() || file->looksUntouched(QFileInfo(path)) ? QString() : file->difference(path);
}

// A manifest is text, which people change; what it says counts, and they are told. One changed letter can take away a
// dependency or a service without making the rest unreadable.
void cPluginSuite::tellOfChange(const cPluginInstance& plugin)
{
    const QString path = plugin.manifestFile();
    const QString difference = changeOf(plugin, path);
    if (!difference.isEmpty())
        m_reporter.warn(QStringLiteral("%1: its manifest %2 %3").arg(plugin.id().toString(), path, difference));
}

bool cPluginSuite::isLibraryOfPlugin(const cCodeImage& image) const
{
    return std::any_of(m_records.begin(), m_records.end(),
                       [&](const Record& record) { return image.contains(record.plugin->code()); });
}

bool cPluginSuite::fail(const QString& reason)
{
    m_reasons.append(reason);
    return m_reporter.logAndFail(reason);
}
