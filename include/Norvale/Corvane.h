#pragma once

#include <Norvale/NorvaleGlobal.h>

#include <QtCore/QByteArray>
#include <QtCore/QString>
#include <QtCore/QStringList>

class QDir;
class QDomDocument;
class QDomElement;
class QPixmap;
class cJsonValue;

/** @ingroup core
 * The free functions of the framework: start-up and shutdown, the folder table, file helpers, local socket messages,
 * locale and translation, restart and detached launch, icons.
 *
 * A host calls, in this order, initialize() once, setLoadCategories() if it wants to restrict loading, startNormal(),
 * and at the end stopNormal():
 * @code
 * QCoreApplication app(argc, argv);
 * if (!Corvane::initialize() || !Corvane::startNormal())
 *     return 1;
 * const int result = app.exec();
 * Corvane::stopNormal();
 * @endcode
 *
 * All functions are called from the main thread, unless their own text says otherwise. Settings are read afresh on
 * every call; the machine-wide product settings are those of organisation "Varkel", application "Pelmora" in system
 * scope, the host's settings those of the organisation and application names that the host set on its application.
 * Paths that are returned use forward slashes, unless their text says otherwise.
 */
namespace Corvane {

/// The folders and files of the suite. Each value's path is told by velmiraFolderOrFile(); the numbers are fixed.
enum VelmFolderOrFile : int {
    CoreFolder = 0,               ///< The root: the installation folder.
    CoreFolderAlias1 = 1,         ///< The same as #CoreFolder.
    CoreFolderAlias2 = 2,         ///< The same as #CoreFolder.
    PluginsFolder = 3,            ///< "plugins" in the root: one folder for each installed plugin, see pluginDir().
    DropboxFolder = 4,            ///< "Dropbox" in the data folder: packages that wait to be installed.
    BootstrapFolder = 5,          ///< "Bootstrap" in the root: the packages of the first installation.
    RepositoryFolder = 6,         ///< "Repository" in the root.
    DataFolder = 7,               ///< The per-user data folder of the host's organisation and application.
    DataFolderAlias = 8,          ///< The same as #DataFolder.
    UnusedFolder9 = 9,            ///< Stands for no path.
    UnusedFolder10 = 10,          ///< Stands for no path.
    FeaturesFile = 11,            ///< "features.xml" in the plugins folder: the catalogue of what is installed.
    DropboxRepositoryFile = 12,   ///< "repository.xml" in the Dropbox folder.
    BootstrapRepositoryFile = 13, ///< "repository.xml" in the Bootstrap folder.
    DevRepositoryFile = 14,       ///< "VelmDev.xml" in the Repository folder.
    SettingsFile = 15,            ///< "settings.json" in the data folder.
    UnusedFile16 = 16,            ///< Stands for no path.
    UnusedFile17 = 17,            ///< Stands for no path.
    UnusedFile18 = 18,            ///< Stands for no path.
    UnusedFile19 = 19,            ///< Stands for no path.
    CoreExecutable = 20,          ///< "VCore.exe" in the root: the host.
    RestartExecutable = 21,       ///< "VRestart.exe" in the root.
    InstallExecutable = 22        ///< "VInstall.exe" in the root.
};

/// The kinds of restart that the framework asks its host for.
enum RestartOption : int {
    NoRestart = 0,          ///< Nothing was asked for.
    RestartAfterUpdate = 1, ///< An update has been applied.
    RestartWithSetup = 2,   ///< An update needs a new core; restartSetupFilename() names its setup program.
    RestartMissingCore = 3  ///< The feature "Core" is not installed.
};

/** @ingroup messages
 * Receives the messages that are dispatched with handleLocalSocketMessage(); plugins and hosts implement it.
 *
 * The order of the virtual functions is fixed: plugins built against this header rely on it. Whoever owns a handler
 * unregisters it; one that is destroyed all the same is taken out by the destructor below.
 */
class NORVALE_EXPORT ILocalSocketMessageHandler
{
public:
    /**
     * Receives one message, on the thread that dispatches it.
     * @param connectionId the dispatcher's number of the connection that the message came from, or -1 when it did not
     * come from a socket (such as the announcement of a new service).
     * @param message the message; it is not filtered, every handler sees every message. What a handler throws is
     * caught and logged, and the others get the message.
     */
    virtual void handleMessage(int connectionId, const cJsonValue& message) = 0;

    /// Takes the handler out of the list, if it is still there, and out of the dispatches that are under way.
    virtual ~ILocalSocketMessageHandler();
};

/**
 * Finds the installation folder and makes it the root of the folder table.
 *
 * Reads the "InstallDir" record (on Windows in the registry below HKEY_LOCAL_MACHINE, elsewhere in the machine-wide
 * product settings), and lets paths that begin with "core:" resolve against it. Without a record the root is the
 * current directory. It may be called alone by a host that needs only the folder table, and again at any time: the
 * record is then read anew.
 * @return always true.
 */
NORVALE_EXPORT bool initializeFolderOrFile();

/**
 * Builds the framework: the folder table, the log central, and the managers of plugins, services, configuration,
 * installation and updates, in this order. Call it once, before anything else of the framework is used.
 * @return false as soon as one step fails. What was built before stays alive, and the host is expected to end.
 */
NORVALE_EXPORT bool initialize();

/**
 * Loads and starts the installed plugins; needs initialize() to have succeeded.
 * @return the result of the plugin manager's start: false when the suite cannot run, for the reason in the channel
 * "PluginMgr". A plugin set that cannot be ordered ends the process. After stopNormal() it is refused.
 */
NORVALE_EXPORT bool startNormal();

/// Stops the plugins in the reverse order of their start and releases their services; their libraries stay loaded, and
/// nothing is loaded any more. Called while a plugin is being loaded, it ends the start, and stops when that is done.
NORVALE_EXPORT void stopNormal();

/**
 * Restricts which plugins startNormal() loads; call it between initialize() and startNormal(). The plugin
 * "ZentraSettings" may call it from its start; from then on it counts for the next start.
 * @param categories the load categories, in the order in which they are loaded; they replace the earlier list.
 */
NORVALE_EXPORT void setLoadCategories(const QStringList& categories);

/**
 * Looks up a folder or file of the suite. Nothing is created on disk or checked for existence. May be called from any
 * thread, except while initializeFolderOrFile() runs.
 * @param value the folder or file; any integer may be passed.
 * @return its absolute path, or an empty string for an unused value or one above 22. Before the installation folder
 * is known, the root is the current directory.
 */
NORVALE_EXPORT QString velmiraFolderOrFile(VelmFolderOrFile value);

/**
 * Tells where an installed plugin lives: below the plugins folder, its name, a hyphen and its printed version.
 * @param name the plugin's name.
 * @param version version text in any form that cVersion reads; "2.1" gives the folder "Foo-2.01.000" for "Foo".
 * @return the folder, whether or not it exists.
 */
NORVALE_EXPORT QDir pluginDir(const QString& name, const QString& version);

/**
 * Reads a whole file. May be called from any thread.
 * @param path absolute path, or relative to the current directory.
 * @param ok when given, receives false if the file does not exist or cannot be opened, else true.
 * @return the bytes of the file; empty on failure, and for an empty file. Nothing is logged.
 */
NORVALE_EXPORT QByteArray FileReadAll(const QString& path, bool* ok = nullptr);

/**
 * Reads a file as an XML document. May be called from any thread.
 * @param path absolute path, or relative to the current directory.
 * @param doc receives the document; after a failure its content is of no use.
 * @param namespaceProcessing whether prefixes are resolved to namespaces.
 * @return what `doc.setContent()` gives for the bytes; false also when the file cannot be read, nests its elements more
 * than a thousand deep, has an element with more than a thousand attributes, or declares entities that make more than
 * 16 Mi characters, or are too many. Nothing is logged.
 */
NORVALE_EXPORT bool FileReadDom(const QString& path, QDomDocument& doc, bool namespaceProcessing);

/**
 * Writes an XML document, indented by two spaces, over the file at @p path.
 *
 * An XML declaration for UTF-8 is inserted in front of the document's first child, also when the document was read
 * from a file that had one: such a file then has two and cannot be read again. Save freshly built documents.
 * @param doc the document; it keeps the declaration that was inserted.
 * @param path the file; folders above it that are missing are created.
 * @return false when the file cannot be opened, after its folder was created or not. Nothing is logged.
 */
NORVALE_EXPORT bool SaveDomToFile(QDomDocument& doc, const QString& path);

/// The printed version of the installed repository, from the machine-wide settings; "0.00.000" when none was stored.
NORVALE_EXPORT QString currentVersion();

/** @ingroup messages
 * Adds a handler behind the ones registered so far; one that is registered already stays where it is.
 * @param handler not owned; unregister it before it is deleted.
 */
NORVALE_EXPORT void registerLocalSocketMessageHandler(ILocalSocketMessageHandler* handler);

/** @ingroup messages
 * Removes a handler; an unknown one is ignored. A dispatch that is under way still reaches it, unless it is destroyed.
 * @param handler compared by its address only.
 */
NORVALE_EXPORT void unregisterLocalSocketMessageHandler(ILocalSocketMessageHandler* handler);

/** @ingroup messages
 * Hands a message to every handler, in the order of registration. Handlers that come or go meanwhile count from the
 * next message on, one that is destroyed at once. Registration and dispatch belong to the main thread. An exception of
 * a handler is logged to the channel "Norvale", with the library that the handler is from.
 * @param connectionId the caller's number of the connection that the message came from; -1 for none.
 * @param message the message.
 */
NORVALE_EXPORT void handleLocalSocketMessage(int connectionId, const cJsonValue& message);

/** @ingroup messages
 * As handleLocalSocketMessage(), for a dispatcher that answers its client.
 * @param connectionId the caller's number of the connection that the message came from; -1 for none.
 * @param message the message.
 * @return what handlers have thrown, a text for each, in the order of the calls; empty when none has.
 */
NORVALE_EXPORT QStringList dispatchLocalSocketMessage(int connectionId, const cJsonValue& message);

/// The suite's locale, such as "en_US", from the machine-wide settings; empty when unset.
NORVALE_EXPORT QString currentLocale();

/// The first two characters of the suite's locale, such as "en"; empty when unset.
NORVALE_EXPORT QString currentLocaleLanguage();

/// The last two characters of the suite's locale, such as "US"; empty when unset.
NORVALE_EXPORT QString currentLocaleCountry();

/// The suite's region, a free-form name from the machine-wide settings; "varkel" when unset.
NORVALE_EXPORT QString currentRegion();

/// The platform that the library is built for: "x64".
NORVALE_EXPORT QLatin1String currentPlatform();

/**
 * Looks up a translated text in an XML element of this form:
 * @code
 * <texts defaultlocale="en_US">
 *   <locale name="de_DE"><string id="greeting">Hallo</string></locale>
 *   <locale name="en_US"><string id="greeting">Hello</string></locale>
 * </texts>
 * @endcode
 * The current locale wins wherever it stands; of several `locale` elements of the default locale the last one that
 * has the text wins.
 * @param element the enclosing element, of any name; may be null.
 * @param id the text's id, compared exactly.
 * @return the text, or @p id when there is none or it is empty.
 */
NORVALE_EXPORT QString translate(const QDomElement& element, const QString& id);

/**
 * Replaces $(locale), $(language), $(country), $(region) and $(platform) by their current values, also where a value
 * itself holds a placeholder.
 * @param path any text; placeholders are matched by case. The work is bounded: a placeholder that stands there more
 * than a hundred times, or values that name each other, leave some unreplaced.
 * @return the text with the values in place.
 */
NORVALE_EXPORT QString expandPath(const QString& path);

/**
 * Notes that a restart is wanted. What is stored in the host's settings is always 0, whatever is passed: hosts that
 * want to find another value store it themselves.
 */
NORVALE_EXPORT void setRestartOption(RestartOption option);

/// The restart option in the host's settings; #NoRestart when none was stored. Values of a host's own come back as is.
NORVALE_EXPORT RestartOption restartOption();

/// Stores the path of the setup program to run after the restart in the host's settings; empty for none.
NORVALE_EXPORT void setRestartSetupFilename(const QString& name);

/// The path of the setup program to run after the restart, as it was stored; empty when none was.
NORVALE_EXPORT QString restartSetupFilename();

/// Ends the host's event loop with the exit code 0. What is started then is the host's business.
NORVALE_EXPORT void restart();

/**
 * Starts a program that lives on its own, with the folder that holds it as its working directory.
 * @param program path of the program, absolute or relative to the current directory; PATH is not searched.
 * @param arguments its arguments, passed on as they are.
 * @return false when it could not be started.
 */
NORVALE_EXPORT bool launchDetached(const QString& program, const QStringList& arguments);

/**
 * Converts a monochrome bitmap of 160 x 43 pixels into the bytes of a display of that size. May be called from any
 * thread.
 * @param out at least 960 bytes, not overlapping @p in; receives 6 bands of 160 columns, each byte 8 pixels of one
 * column with the topmost in bit 0. The last band holds 3 rows, its other bits are 0.
 * @param in at least 860 bytes: 43 rows of 20 bytes, the leftmost pixel in bit 7.
 */
NORVALE_EXPORT void SwizzleForDrell(unsigned char* out, const unsigned char* in);

/** @ingroup icons
 * The icon of a file, as the system shows it. May be called from any thread, where the application's platform allows
 * pixmaps off the main thread; `cDelayedApplicationIconLoader` does so. Needs a `QGuiApplication`.
 *
 * On Windows it is the shell's icon, asked for with 48 x 48 pixels; each call initialises COM on the calling thread.
 * Elsewhere it is, in this order: the icon that a desktop entry names, the picture itself when the file is one, the
 * icon theme's icon of the file's kind; fitted into 48 x 48 pixels with its shape kept, never enlarged.
 * @param path the file, absolute or relative to the current directory.
 * @return the icon; a null pixmap when the file does not exist or no icon can be had.
 */
NORVALE_EXPORT QPixmap loadApplicationIcon(const QString& path);

} // namespace Corvane
