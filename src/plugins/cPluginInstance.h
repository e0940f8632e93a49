#pragma once

#include "core/Settings.h"
#include "plugins/IPluginProcess.h"
#include "plugins/cManifest.h"
#include "plugins/cPluginLibrary.h"
#include "version/cPluginId.h"

#include <Norvale/IPluginContext.h>
#include <Norvale/IPluginMgr.h>

#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QTranslator>

#include <utility>

class IPlugin;
class cPluginInstance;
class cXmlElement;

/**
 * The context of one plugin: answers from the plugin's record, which embeds it.
 */
class cPluginContext : public IPluginContext
{
public:
    explicit cPluginContext(const cPluginInstance& plugin) : m_plugin(plugin) {}

    QString name() const override;
    cJsonValue params() const override;
    cLog log() const override;

private:
    const cPluginInstance& m_plugin;
};

/**
 * The locale that plugins are translated into, as the machine-wide settings name it.
 *
 * While an object lives, the settings stay open: opening them asks the file system several times, which a start-up of
 * many plugins need not pay for each. What this process writes to the settings is seen at once all the same. Main
 * thread only; objects nest.
 */
class cTranslationLocale
{
public:
    cTranslationLocale() : m_outer(s_innermost) { s_innermost = this; }
    ~cTranslationLocale() { s_innermost = m_outer; }
    cTranslationLocale(const cTranslationLocale&) = delete;
    cTranslationLocale& operator=(const cTranslationLocale&) = delete;

    /// @return the locale, such as "de_DE"; empty when none is set.
    static QString current();

private:
    cMachineSettings m_settings;
    cTranslationLocale* m_outer;
    static cTranslationLocale* s_innermost;
};

/**
 * The record of one plugin: its identity, what its manifest says, its library, and the object that the library made.
 *
 * The plugin manager makes, owns, orders, loads and starts the records; the install manager reads the command lines.
 * Nothing is logged here: after a false result errorString() tells the reason, and who asked reports it. No exception
 * of a plugin gets past this class. Main thread only.
 *
 * The order of the virtual functions is fixed.
 */
class cPluginInstance : public QObject
{
public:
    /// How far the plugin has come. The record moves on by what is done to it, back to Read when its library is gone
    /// again, and, as long as no library is loaded, back to Known with each publication of the installed plugins. A
    /// place in the start order is no stage but the state(): it is given anew at each ordering, to faulty and to
    /// running plugins as well.
    enum class Stage {
        Known,   ///< The record has been made; its manifest has not been judged.
        Faulty,  ///< The manifest has been refused; the library is not loaded.
        Read,    ///< The manifest has been accepted; the library is not loaded.
        Loading, ///< The library's own initialisation runs.
        Loaded,  ///< The library is loaded; its start has not succeeded.
        Started, ///< The start has succeeded.
        Stopped  ///< The plugin has been stopped; its library stays loaded.
    };

    /// What is appended to a manifest's `filename`. There is no prefix on any system: foo is foo.dll or foo.so.
    static const char* const LibrarySuffix;

    explicit cPluginInstance(const cPluginId& id);
    ~cPluginInstance() override;

    /// The dependency texts in manifest order.
    virtual QStringList dependencies() const;

    /// The place in the start order, counted from 1; 0 until the plugin manager has ordered the plugin.
    virtual void setState(qint32 state);
    virtual qint32 state() const;

    /// Reads Manifest.xml of the folder anew. On false what had been read before the fault stays in the record. The
    /// stage stays: see judge().
    [[nodiscard]] virtual bool readManifest();

    /// What the manifest that was read last has and nobody reads, each with its place; empty when that has been taken.
    QStringList takeManifestWarnings();

    /// Appends a command line for @p element and for each later sibling of that name to @p target. Always true.
    virtual bool readCommandLines(const cXmlElement& element, QList<cCmdLine>& target);

    /// @p text with its variables replaced, see cVariableExpander.
    virtual QString expandVariables(const QString& text) const;

    /// Has the library loaded, started and stopped in that process from now on, instead of in this one. Taken away
    /// again when the library is not loaded.
    void setProcess(std::unique_ptr<IPluginProcess> process) { m_process = std::move(process); }

    /// Loads the library and has its entry function make the plugin object. A library whose entry function is missing
    /// or answers null stays loaded. The manifest must have been accepted.
    [[nodiscard]] virtual bool loadLibrary();

    /// Unloads the library; the plugin object is forgotten.
    virtual bool unloadLibrary();
    virtual bool isLibraryLoaded() const;

    /// Registers the search path, installs the translation and starts the plugin object. On false the first two are
    /// taken back.
    [[nodiscard]] virtual bool start();

    /// Stops the plugin object of a started plugin, if there is one. False when it threw an exception.
    bool stop();

    /// What is wrong with the name of a translation that is in the locale's language and is not used; empty when
    /// nothing is.
    QString misnamedTranslation() const;

    Stage stage() const { return m_stage; }

    /// How far the plugin has come, as hosts are told.
    cPluginInfo::State progress() const;

    /// Why the plugin does not run though it should, as logged; empty when nothing has failed since its manifest was
    /// refused last, or since it was started last.
    const QString& failure() const { return m_failure; }
    void setFailure(const QString& reason) { m_failure = reason; }

    /// Why a plugin that has been started does not run any more, which one of a process of its own can; else empty.
    QString whyDown() const { return m_process && m_stage == Stage::Started ? m_process->whyDown() : QString(); }

    /// Whether progress(), failure() or whyDown() are others than at the last call.
    bool takeNews();

    /// Forgets how the manifest was judged, unless the plugin is running by it. @return false when it is.
    bool reconsider();

    /// Tells a record that is only known whether its manifest is accepted. A refusal is followed by setFailure().
    void judge(bool isAccepted) { moveTo(isAccepted ? Stage::Read : Stage::Faulty); }

    /// Who the plugin is; messages name it by the id's text.
    const cPluginId& id() const { return m_id; }
    const QString& name() const { return m_id.name(); }
    const cVersion& version() const { return m_id.version(); }

    const QString& folder() const { return m_folder; }
    QString manifestFile() const;

    /// @p path is kept as given, but "#default" stands for the plugin's own folder below "core:plugins".
    void setFolder(const QString& path);

    /// What has been read last.
    const cManifest& manifest() const { return m_manifest; }
    /// The path of the library; empty when the manifest names none.
    QString libraryFile() const;
    const QString& loadCategory() const { return m_manifest.loadCategory; }
    const QStringList& services() const { return m_manifest.services; }
    const cJsonValue& params() const { return m_manifest.params; }
    qint32 apiVersion() const { return m_manifest.apiVersion; }
    qint32 runtimeApiVersion() const { return m_manifest.runtimeApiVersion; }
    bool isIsolated() const { return m_manifest.isIsolated; }
    bool isAutoload() const { return m_manifest.autoload; }
    const QList<cCmdLine>& installCommandLines() const { return m_manifest.installCommandLines; }
    const QList<cCmdLine>& uninstallCommandLines() const { return m_manifest.uninstallCommandLines; }
    bool hasPluginObject() const { return m_object || m_process; }

    /// An address in the loaded library; null when no library is loaded, or it lacks the entry function.
    const void* code() const { return m_code; }

    /// Why the last operation that returned false did so; names the file.
    const QString& errorString() const { return m_errorString; }

private:
    void moveTo(Stage next);
    bool fail(const QString& reason);
    bool callEntryFunction();
    bool loadElsewhere();
    bool startObject();
    bool registerSearchPath();
    void removeSearchPath();
    void installTranslation();

    const cPluginId m_id;
    QTranslator m_translator;
    cPluginLibrary m_library;
    QString m_folder;
    cManifest m_manifest;
    IPlugin* m_object = nullptr; // made and owned by the library
    const void* m_code = nullptr;
    std::unique_ptr<IPluginProcess> m_process; // of a plugin that is loaded there; else null
    cPluginContext m_context;
    qint32 m_state = 0;
    Stage m_stage = Stage::Known;
    QStringList m_warnings; // of the manifest that was read last
    QStringList m_takenWarnings;
    QString m_failure;
    std::pair<cPluginInfo::State, QString> m_told{cPluginInfo::Registered, QString()};
    QString m_errorString;
};
