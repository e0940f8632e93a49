#pragma once

#include <Norvale/NorvaleGlobal.h>

#include <QtCore/QMetaType>
#include <QtCore/QString>

class QObject;

/**
 * Static facade of the install manager: installs plugin packages and removes what is installed.
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
        OPERATION_REMOVE = 5     ///< a plugin's folder is deleted
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
     * keeps its old version with all of its own; the other features go on.
     * @param path absolute path of a repository description, such as ".../Dropbox/repository.xml".
     * @param consume true deletes the packages and the description once they are installed, and a package that is
     * defective at once. What could not be written stays for the next start.
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
     * Uninstalls everything: runs the uninstall command lines of every installed plugin and removes its folder, the
     * repository settings, the features file and the folders that are empty then. Links are removed, never followed;
     * what was not installed stays.
     * @return false when something could not be removed; the reasons stand in the log channel "InstallMgr".
     */
    static bool uninstallPlugins();
};

Q_DECLARE_METATYPE(IInstallMgr::OPERATION)
