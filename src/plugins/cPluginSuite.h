#pragma once

#include "plugins/cFileRecord.h"
#include "plugins/cLeftOut.h"
#include "plugins/cPluginInstance.h"
#include "plugins/cStartRules.h"
#include "version/FlatMap.h"

#include <QtCore/QSet>
#include <QtCore/QSharedPointer>
#include <QtCore/QStringList>
#include <QtCore/QVector>

#include <optional>
#include <vector>

class cCodeImage;
class cDependencyOrder;
class cPluginReporter;

/**
 * What the suite needs to be told about the installed features. The configuration manager implements it, and start-up
 * hands it over, so that this room need not know the room above.
 */
class IInstalledPlugins
{
public:
    virtual ~IInstalledPlugins() = default;

    /// Brings the installed features up to date, then clears the plugin manager's allowed set and registers each plugin
    /// of each feature with it. On false the reason has been logged.
    virtual bool publishInstalledPlugins() = 0;

    /// @return true when a feature of that name is installed, as of the last publication.
    virtual bool isFeatureInstalled(const QString& name) const = 0;

    /// Why the last publication could not be made or, if it was made, why it does not name what is installed: the
    /// features could not be read. Empty when it does. Has been logged.
    virtual QString publicationError() const = 0;

    /// Whether somebody works on the plugin, so that its files may change.
    virtual bool isInDevelopment(const cPluginId& id) const = 0;
};

/**
 * The installed plugins: their records, which of them the last publication names, and the order in which they start.
 *
 * Publishing happens more than once in a start, so a record may stand in the load list more than once; and a record
 * that the last publication did not name again counts as not registered, though the list still holds it. Services,
 * faults and order are those of the last publication; a plugin that runs keeps the manifest by which it runs.
 */
class cPluginSuite
{
public:
    using Plugin = QSharedPointer<cPluginInstance>;

    explicit cPluginSuite(cPluginReporter& reporter) : m_reporter(reporter) {}

    /// Who publishes the installed plugins. Not owned; needed from publish() on.
    void setInstalledPlugins(IInstalledPlugins* installed) { m_installed = installed; }

    /// The record of exactly that plugin; made, with the folder of an installed plugin, if there is none.
    Plugin findOrMake(const cPluginId& id) { return m_records[numberOf(id)].plugin; }
    /// @p hash is that of @p id.
    bool isKnown(const cPluginId& id, std::size_t hash) const { return m_numbers.contains(id, hash); }

    /// No record counts as registered until it is registered again.
    void clearAllowed();
    void registerPlugin(const cPluginId& id);

    /// Has the installed plugins registered.
    [[nodiscard]] bool publish();

    /// Whether the last publication names all that is installed.
    bool isWhole() const { return m_installed->publicationError().isEmpty(); }
    [[nodiscard]] bool isCoreInstalled();

    /// Names the plugins that are left out from the next reading of the manifests on, with what depends on them. A
    /// plugin that is left out is registered, but neither judged nor ordered.
    void leaveOut(const QStringList& names);

    bool isLeftOut(const Plugin& plugin) const;

    /// Why the plugin is left out; empty when it is not.
    QString whyLeftOut(const Plugin& plugin) const;

    /// Reads and judges the manifest of each registered record, but only judges that of a plugin whose library is
    /// loaded. False when one is faulty.
    [[nodiscard]] bool readManifests();

    /// Gives each registered record its place in the start order, also when its manifest is faulty. False when one has
    /// none: what it depends on is not installed or is part of a circle.
    [[nodiscard]] bool order();

    /// Reads and orders anew when something has been published since that was done last; does nothing before it has
    /// been done at all. What is faulty is logged, and does not keep other plugins from being loaded.
    void refresh();

    /// Why the plugin does not run though it should: its manifest, its place in the order, its load or its start. Empty
    /// when nothing is wrong.
    QString failureOf(const cPluginInstance& plugin) const;

    /// Tells the states of the registered plugins, where they are new.
    void tellStates();

    /// What has been logged of a publication that was not made, manifests and the order, since publish() was called.
    const QStringList& reasons() const { return m_reasons; }

    /// The registered records of the load list in its order, as often as they stand in it.
    QVector<Plugin> loadList() const;

    /// The same, each record once.
    QVector<Plugin> registered() const;

    /// Whether the last publication names the plugin.
    bool isRegistered(const Plugin& plugin) const;

    /// The record of that name that counts: the one whose library is loaded, else the first registered one in the load
    /// list; null when there is none.
    Plugin find(const QString& name) const;

    /// Why the plugin's library is not the one that was installed, as the record of files has it; empty when it is, and
    /// when nobody knows.
    QString libraryChange(const cPluginInstance& plugin);

    /// Whether @p image is the loaded library of a plugin.
    bool isLibraryOfPlugin(const cCodeImage& image) const;

    /// The name of the plugin whose manifest declares the service, one that is left out if there is no other; empty
    /// when there is none.
    QString ownerOf(const QString& service) const;

private:
    struct Record
    {
        Plugin plugin;
        bool isRegistered = false;
    };

    int numberOf(const cPluginId& id);
    int numberOfCounting(const QString& name) const;
    void findLeftOut();
    void tellLeftOut(const QSet<QString>& installed);
    bool readManifest(cPluginInstance& plugin);
    bool judge(cPluginInstance& plugin);
    QString changeOf(const cPluginInstance& plugin, const QString& path);
    void tellOfChange(const cPluginInstance& plugin);
    bool isAcceptable(cPluginInstance& plugin);
    void noteLeft(const cDependencyOrder& order, const QVector<Plugin>& listed);
    bool fail(const QString& reason);

    cPluginReporter& m_reporter;
    IInstalledPlugins* m_installed = nullptr;
    std::vector<Record> m_records;                      // every one ever made; others name it by its number
    FlatMap<cPluginId, int> m_numbers;                  // of all records
    std::vector<int> m_loadList;                        // in the order of registration
    FlatMap<QString, QVector<int>> m_namesakes;         // of the load list, each record once, in the order of the list
    cStartRules m_rules;                                // of the publication that was read last
    cLeftOut m_leftOut;                                 // of the same
    bool m_isLeftOutTold = true;                        // no names have been given since it was
    FlatMap<const cPluginInstance*, bool> m_readAhead;  // manifests that have been read before they are judged, and how
    FlatMap<const cPluginInstance*, QString> m_whyLeft; // out of the order
    bool m_isRead = false;                              // some publication has been read, and
    bool m_isStale = false;                             // something else has been published since
    QStringList m_reasons;
    std::optional<cFileRecord> m_files; // once it is needed, until the next publication
};
