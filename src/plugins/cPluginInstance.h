#pragma once

#include "plugins/cManifest.h"
#include "plugins/cPluginContext.h"

#include <Norvale/cVersion.h>

#include <QtCore/QLibrary>
#include <QtCore/QObject>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QTranslator>

class IPlugin;
class cXmlElement;

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
    cPluginInstance(const QString& name, const cVersion& version);
    ~cPluginInstance() override;

    /// The dependency texts in manifest order.
    virtual QStringList dependencies() const;

    /// The place in the start order, counted from 1; 0 until the plugin manager has ordered the plugin.
    virtual void setState(qint32 state);
    virtual qint32 state() const;

    /// Reads Manifest.xml of the folder anew. On false what had been read before the fault stays in the record.
    [[nodiscard]] virtual bool readManifest();

    /// Appends a command line for @p element and for each later sibling of that name to @p target. Always true.
    virtual bool readCommandLines(const cXmlElement& element, QList<cCmdLine>& target);

    /// @p text with its variables replaced, see cVariableExpander.
    virtual QString expandVariables(const QString& text) const;

    /// Loads the library and has its entry function make the plugin object. A library whose entry function is missing
    /// or answers null stays loaded.
    [[nodiscard]] virtual bool loadLibrary();

    /// Unloads the library; the plugin object is forgotten.
    virtual bool unloadLibrary();
    virtual bool isLibraryLoaded() const;

    /// Registers the search path, installs the translation and starts the plugin object.
    [[nodiscard]] virtual bool start();

    /// Stops the plugin object, if there is one. False when it threw an exception.
    bool stop();

    const QString& name() const { return m_name; }
    const cVersion& version() const { return m_version; }

    /// "name-version", as the folder of the plugin is called and as messages name it.
    QString identity() const;

    const QString& folder() const { return m_folder; }

    /// @p path is kept as given, but "#default" stands for the plugin's own folder below "core:plugins".
    void setFolder(const QString& path);

    const QString& loadCategory() const { return m_manifest.loadCategory; }
    const QStringList& services() const { return m_manifest.services; }
    const cJsonValue& params() const { return m_manifest.params; }
    qint32 apiVersion() const { return m_manifest.apiVersion; }
    qint32 runtimeApiVersion() const { return m_manifest.runtimeApiVersion; }
    bool isAutoload() const { return m_manifest.autoload; }
    const QList<cCmdLine>& installCommandLines() const { return m_manifest.installCommandLines; }
    const QList<cCmdLine>& uninstallCommandLines() const { return m_manifest.uninstallCommandLines; }
    bool hasPluginObject() const { return m_object != nullptr; }

    /// Why the last operation that returned false did so; names the file.
    const QString& errorString() const { return m_errorString; }

    // Bookkeeping of the plugin manager.

    /// How far the manager has come with the manifest; it only moves on.
    enum class ManifestState { Unread, Accepted, Faulty };
    ManifestState manifestState() const { return m_manifestState; }
    void setManifestState(ManifestState state) { m_manifestState = state; }

    /// How far the run of the plugin has come. Loading lasts while the library's own initialisation runs.
    enum class RunState { Idle, Loading, Started, Stopped };
    RunState runState() const { return m_runState; }
    void setRunState(RunState state) { m_runState = state; }

    /// An installed feature names the plugin in this run.
    bool isRegistered() const { return m_isRegistered; }
    void setRegistered(bool isRegistered) { m_isRegistered = isRegistered; }

private:
    bool fail(const QString& reason);
    bool callEntryFunction();
    void registerSearchPath();
    void installTranslation();

    QString m_name;
    cVersion m_version;
    QTranslator m_translator;
    QLibrary m_library;
    QString m_folder;
    cManifest m_manifest;
    IPlugin* m_object = nullptr; // made and owned by the library
    cPluginContext m_context;
    qint32 m_state = 0;
    QString m_errorString;

    ManifestState m_manifestState = ManifestState::Unread;
    RunState m_runState = RunState::Idle;
    bool m_isRegistered = false;
};
