#pragma once

#include <Norvale/NorvaleGlobal.h>
#include <Norvale/cVersion.h>

#include <QtCore/QList>
#include <QtCore/QMetaType>
#include <QtCore/QString>
#include <QtCore/QStringList>

class QObject;

/** @ingroup updates
 * How an install went: a copy of facts, which stays valid whatever is installed afterwards. IInstallMgr::lastOutcome()
 * gives it.
 *
 * @code
 * if (!IInstallMgr::installDropbox()) {
 *     const cInstallOutcome outcome = IInstallMgr::lastOutcome();
 *     for (const cInstallOutcome::cLeftOut& feature : outcome.leftOut)
 *         show(feature.name, feature.reason);
 * }
 * @endcode
 */
struct cInstallOutcome
{
    /// How far the install came.
    enum Result {
        NotMade = 0,       ///< No install has been made yet.
        NothingToDo = 1,   ///< Nothing waits, or nothing that is offered is newer than what is installed.
        Complete = 2,      ///< All that was newer is installed.
        Incomplete = 3,    ///< Features were left out, see @ref leftOut; the others are installed.
        NoDescription = 4, ///< There is no readable description, or no package, at the path. Nothing has changed.
        CoreTooOld = 5,    ///< What is offered needs a newer core than what is installed. Nothing has changed.
        Failed = 6         ///< The install could not be finished, see @ref reason. Nothing is half installed.
    };

    /// A feature that was not installed and kept its old version, if it had one.
    struct cLeftOut
    {
        /// Name of the feature.
        QString name;
        /// The version that was offered.
        cVersion version;
        /// Why, as a sentence for people that goes on after "it is left out:".
        QString reason;
        /// Whether the same install may succeed at the next start: the system has refused to read or write something.
        bool isWorthRetrying = false;
    };

    /// How far the install came.
    Result result = NotMade;
    /// A sentence for people that tells why nothing came of it: for NoDescription, CoreTooOld and Failed, and for
    /// NothingToDo where a single package is installed already; else empty.
    QString reason;
    /// The plugins that have been installed, each as "name-version" with the version in print form: "Foo-1.02.003".
    QStringList installed;
    /// The plugins, in the same form, that no feature has any more. A folder that could not be removed yet goes at a
    /// later start.
    QStringList removed;
    /// The features that were left out, in the order of the description.
    QList<cLeftOut> leftOut;
    /// What went wrong with command lines, a sentence for people each that names the plugin: one that failed, that
    /// could not be started, or that was passed over because its condition cannot be evaluated. The plugins count as
    /// installed all the same.
    QStringList failedCommands;
    /// Whether the system refused to read or write something, such as on a full disk; then @ref result is Failed, or a
    /// feature in @ref leftOut is worth retrying.
    bool hasDiskRefused = false;

    /**
     * Tells whether all that was to be done has been done.
     * @return what the function that made the install has returned.
     */
    bool isSuccess() const { return result == NothingToDo || result == Complete; }
};

/// What a verification has found out of an installed file, or of a plugin as a whole. A copy of facts. @ingroup updates
struct cFileFinding
{
    /// What is found.
    enum Kind {
        Missing = 0,  ///< The file is not there.
        Changed = 1,  ///< It has another content than was installed, is no file any more, or cannot be read.
        Foreign = 2,  ///< It was not installed by the suite. It is told, but is no fault, and stays.
        NoRecord = 3, ///< Nothing is known of the plugin's files; only that folder, manifest and library are there.
        FolderMissing = 4, ///< The plugin's whole folder is not there.
    };

    /// What is found.
    Kind kind = Missing;
    /// The plugin as "name-version", the version in print form: "Foo-1.02.003". Empty for what is of no plugin: the
    /// features file, the record of files, a foreign folder, the name of the repository in the settings.
    QString plugin;
    /// The file relative to the plugin's folder, or to the folder of all plugins, with slashes; empty when the plugin
    /// as a whole is meant.
    QString file;
    /// A sentence for people that goes on after the names: "has 12 bytes instead of 40".
    QString text;

    /**
     * Tells whether it keeps something from being as it was installed, so that a repair has something to do.
     * @return false for Foreign and NoRecord.
     */
    bool isFault() const { return kind == Missing || kind == Changed || kind == FolderMissing; }
};

/// How a verification went: what IInstallMgr::verify() answers. A copy of facts. @ingroup updates
struct cVerifyOutcome
{
    /// What it came to.
    enum Result {
        NotVerified = 0, ///< What is installed cannot be told, see @ref reason.
        Sound = 1,       ///< No finding is a fault.
        Faulty = 2       ///< A finding is one.
    };

    /// What it came to.
    Result result = NotVerified;
    /// A sentence for people that tells why nothing could be verified; else empty.
    QString reason;
    /// The findings, those of one plugin behind one another, in the order of the features file.
    QList<cFileFinding> findings;
    /// The installed plugins.
    int plugins = 0;
    /// Their files that have been compared.
    int files = 0;
};

/// How a repair went: what IInstallMgr::repair() answers. A copy of facts. @ingroup updates
struct cRepairOutcome
{
    /// What it came to.
    enum Result {
        NotRepaired = 0, ///< Nothing could be done, see @ref reason. Nothing has changed.
        NothingToDo = 1, ///< Nothing is at fault.
        Complete = 2,    ///< All that was at fault is as it was installed.
        Incomplete = 3   ///< Something could not be had or written, see @ref unrepaired.
    };

    /// Something that is still at fault.
    struct cUnrepaired
    {
        /// A plugin as "name-version", or a file of the suite itself: "features.xml", "files.json".
        QString name;
        /// Why, as a sentence for people that goes on after "it is not repaired:".
        QString reason;
    };

    /// What it came to.
    Result result = NotRepaired;
    /// A sentence for people that tells why nothing could be done; else empty.
    QString reason;
    /// What has been repaired: plugins as "name-version", and files of the suite itself by their names.
    QStringList repaired;
    /// What could not be repaired, in the order of the features file.
    QList<cUnrepaired> unrepaired;
    /// As cInstallOutcome::failedCommands.
    QStringList failedCommands;
};

/** @ingroup updates
 * Static facade of the install manager: installs plugin packages, removes what is installed, and finds and mends what
 * is damaged.
 *
 * `Corvane::initialize` creates the one install manager behind it. It lives until the process ends and is neither
 * created nor deleted by users. All functions are for the host's main thread and block it until everything is done,
 * the command lines of plugins included.
 *
 * A host calls installDropbox() at every start, between `Corvane::initialize` and `Corvane::startNormal`: it finishes
 * what an update has fetched, and it repeats what was cut off when the last run was killed. Installing while plugins
 * run is not meant to be done.
 *
 * What changes on the disk follows one order: packages are verified whole and unpacked, then the repository's name and
 * version go into the settings, then the features file is replaced, and only then is anything old removed. So what is
 * installed is the old set or the new one at any moment, and a run that was cut off can be repeated.
 *
 * Where a root of trust is pinned (`IConfigMgr::pinTrust`), a package is only installed when its length and SHA-256
 * stand in the metadata that were verified: those of the last check, or those that a medium has brought along, a folder
 * "tuf" beside the description or up to two folders up. What is refused is left out, with the reason.
 *
 * @code
 * if (!Corvane::initialize())
 *     return 1;
 * IInstallMgr::connectSlots(&window, SLOT(onStart(IInstallMgr::OPERATION, QString, QString)),
 *                           SLOT(onProgress(int, int)), SLOT(onFinished()));
 * IInstallMgr::installDropbox();
 * Corvane::startNormal();
 * @endcode
 */
class NORVALE_EXPORT IInstallMgr
{
public:
    IInstallMgr() = delete;

    /// What has begun; the first argument of the start signal. Registered with Qt's meta-type system.
    enum OPERATION {
        OPERATION_START = 0,     ///< an install from a location; name and version are empty
        OPERATION_LOCATION = 1,  ///< its description exists and is read next; name and version are empty
        OPERATION_EXTRACT = 2,   ///< a package is unpacked
        OPERATION_INSTALL = 3,   ///< a plugin's install command lines are run
        OPERATION_UNINSTALL = 4, ///< a plugin's uninstall command lines are run
        OPERATION_REMOVE = 5,    ///< a plugin's folder is deleted
        OPERATION_VERIFY = 6     ///< a plugin's files are compared with the record of files
    };

    /**
     * Connects the three signals of the install manager to slots of one receiver, with the automatic connection type.
     *
     * Every start is followed by a finish, on failure too; OPERATION_START and OPERATION_LOCATION share one, the last.
     * @param receiver the object whose slots are called; not owned. The connections end with it.
     * @param startSlot called with the operation, a plugin's name and its version in print form ("1.02.003"):
     * `SLOT(onStart(IInstallMgr::OPERATION, QString, QString))`.
     * @param progressSlot called with the steps done and the steps in all: `SLOT(onProgress(int, int))`.
     * @param finishedSlot called when what was started last has ended: `SLOT(onFinished())`.
     *
     * A null receiver, a slot that is null or does not exist, and a call before `Corvane::initialize` leave that signal
     * unconnected; the reason goes to the log channel "InstallMgr".
     */
    static void connectSlots(QObject* receiver, const char* startSlot, const char* progressSlot,
                             const char* finishedSlot);

    /**
     * Installs what an update has put into the Dropbox folder: installFromLocation() with that folder's description and
     * consuming. Without a description there nothing waits to be installed.
     * @return as installFromLocation(); true when nothing waits.
     */
    static bool installDropbox();

    /**
     * Installs what the repository description at @p path lists and is newer than what is installed, or comes from
     * another repository.
     *
     * A package is the file "name-version.zip" beside the description, or else the first source that is an existing
     * local file. Each is verified whole before a file of it is written. A feature is installed with all its plugins or
     * keeps its old version with all of its own; the other features go on. What would keep the suite from starting is
     * left out, with what depends on it; so is a plugin whose folder is there without the suite having made it, and,
     * unless @p consume is true, a package that differs from what is installed under the same version.
     *
     * With a features file that is damaged nothing is installed, changed or run.
     * @param path absolute path of a repository description, such as ".../Dropbox/repository.xml".
     * @param consume true deletes each package once its plugin is installed, a package that is defective at once, and
     * the description at the end. What could not be written stays for the next start, and so does the description then;
     * a sound package of a feature that was left out stays.
     * @return false when a feature was left out, the description could not be read or asks for a newer core, or the
     * disk refused to be written. The reasons stand in the log channel "InstallMgr". A failing command line alone is
     * logged and is no failure. A @p path that does not exist is one unless @p consume is true.
     */
    static bool installFromLocation(const QString& path, bool consume);

    /**
     * Installs from the Bootstrap folder of the installation, which then is the available catalogue; nothing of it is
     * consumed.
     * @return as installFromLocation(); false when the folder has no readable description.
     */
    static bool installBootstrap();

    /**
     * Installs one package that belongs to no repository, for who develops its plugin: it becomes part of the
     * development feature "VelmDev", whose other plugins stay. A plugin of that feature takes the place of any other of
     * its name. Of the same version as an installed plugin of that feature alone, it replaces that plugin where the
     * contents differ, and where they do not, nothing is done. Name and version of the installed repository stay as
     * they are; where there is none, the name becomes "VelmDev", too. The package is kept.
     * @param path the package, absolute or relative to the current directory. It is named "name-version.zip" after the
     * plugin in its manifest, such as "Foo-1.02.003.zip".
     * @return false when it is no such file or was left out for the reasons of installFromLocation().
     */
    static bool installPackage(const QString& path);

    /**
     * Uninstalls everything: runs the uninstall command lines of every installed plugin and removes its folder, the
     * repository settings, the features file and the folders that are empty then. Links are removed, never followed;
     * what was not installed stays. With a features file that is damaged nothing is removed or run.
     * @return false when something could not be removed; the reasons stand in the log channel "InstallMgr".
     */
    static bool uninstallPlugins();

    /**
     * Tells how the last install of this process went: of installDropbox(), installFromLocation(), installBootstrap()
     * or installPackage(). A call that was refused because an install was under way does not count.
     * @return a copy; its result is cInstallOutcome::NotMade before the first one, and before `Corvane::initialize`.
     */
    static cInstallOutcome lastOutcome();

    /**
     * Compares every file of every installed plugin with what was installed. Nothing is changed, and nothing needs to
     * have started; the plugins may also run meanwhile.
     *
     * What was installed is told by a record that every install keeps, `files.json` beside the features file: size and
     * SHA-256 of each file. Of a plugin without one, which an older version of the library has installed, only the
     * folder, the manifest and the library's presence are looked at; so are the plugins of the development feature.
     * Where the features file itself is damaged or gone, that is a finding, and the last one that was whole counts.
     *
     * Each plugin is announced by the start signal with OPERATION_VERIFY and a finish; the progress signal tells steps
     * of about equal length.
     * @return the findings; cVerifyOutcome::NotVerified when it cannot be told what is installed, when an install is
     * under way, and before `Corvane::initialize`.
     */
    static cVerifyOutcome verify();

    /**
     * Mends what verify() finds: restores the features file from the last one that was whole, and puts the files of
     * plugins at fault in their places again, out of the packages of exactly these versions. A package comes from the
     * Bootstrap folder, or from the newest repository on the update locations where that gives a hash for it. Then the
     * plugin's install command lines are run. A plugin that is sound but has no record gets one as it lies there.
     *
     * A file is replaced only when the package has been verified whole and another content is to be there, each in one
     * step; what the suite has not installed stays. A repair that is cut off can be repeated. A damaged features file
     * is kept as `features.damaged.xml`.
     *
     * Not to be called while plugins run. Downloads serve the event loop meanwhile, and tell their progress as
     * `IConfigMgr::connectProgressSlot` describes it.
     * @return what has been repaired and what could not be; the reasons stand in the log channel "InstallMgr", too.
     */
    static cRepairOutcome repair();

    /**
     * Installs what @p path holds without regard to the pinned root of trust, this once; the log tells so. Where no
     * root is pinned it is the same as without this name.
     * @param path a package, "name-version.zip", as of installPackage(); else a repository description as of
     * installFromLocation(), of which nothing is consumed.
     * @return as these two.
     */
    static bool installUnsigned(const QString& path);
};

Q_DECLARE_METATYPE(IInstallMgr::OPERATION)
