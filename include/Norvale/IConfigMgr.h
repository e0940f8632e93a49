#pragma once

#include <Norvale/NorvaleGlobal.h>
#include <Norvale/cJsonValue.h>
#include <Norvale/cVersion.h>

#include <QtCore/QByteArray>
#include <QtCore/QDateTime>
#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>
#include <QtCore/QUrl>

class QObject;

/** @ingroup updates
 * What a host shows of one installed feature: a copy that stays valid whatever happens to the catalogue afterwards.
 */
struct cFeatureInfo
{
    /// Name of the feature; unique together with @ref version.
    QString name;
    /// Version of the feature.
    cVersion version;
    /// The catalogue's `active` flag. A feature counts as installed whatever it says.
    bool active = false;
    /// Name of the repository that the feature came from; empty when the catalogue names none.
    QString repository;
    /// Display name by language, such as "en-us" -> "Core services".
    QMap<QString, QString> displayNames;
    /// The feature's plugins in catalogue order, each as "name-version" with the version in print form: "Foo-1.02.003".
    QStringList plugins;
};

/** @ingroup updates
 * How the update sites have answered a check, or the check that an update begins with: a copy of facts.
 *
 * A check tells that nothing newer was found with one and the same code, whether every site has said so or none was
 * reached. This tells the two apart: without an "update_to_version" other than "0.00.000" and with failures, nobody
 * knows what is newest.
 */
struct cSitesOutcome
{
    /// A description of a site or a repository that could not be fetched or read.
    struct cFailure
    {
        /// Its URL, for people: without a password.
        QString url;
        /// A phrase for people that goes on after the URL and ":".
        QString reason;
    };

    /// How many sites there are in the host's settings.
    int sites = 0;
    /// What could not be fetched or read, in the order in which it was asked for.
    QList<cFailure> failures;
};

/** @ingroup updates
 * What the installation trusts: a copy of facts, as IConfigMgr::trustState() finds them.
 */
struct cTrustState
{
    /// One of the four roles of the signed metadata.
    struct cRole
    {
        /// "root", "timestamp", "snapshot" or "targets".
        QString name;
        /// The version of its newest document that was verified; 0 when none was yet.
        qint64 version = 0;
        /// Until when that is good, in UTC; invalid when none was verified yet.
        QDateTime expires;
        /// How many of the keys must have signed it.
        int threshold = 0;
        /// The ids of the keys that may sign it, as the metadata give them.
        QStringList keyIds;
    };

    /// Whether a root of trust is pinned.
    bool isPinned = false;
    /// A sentence for people that tells why nothing can be verified, and so nothing be updated, although a root is
    /// pinned; else empty.
    QString reason;
    /// The roles, in the order above; empty when no root is pinned, or the pinned one cannot be read.
    QList<cRole> roles;
};

/** @ingroup updates
 * Static facade of the configuration manager: what is installed, which updates there are, and fetching them.
 *
 * `Corvane::initialize` creates the one configuration manager behind it; until then every function here answers as if
 * nothing were installed. It lives until the process ends and is neither created nor deleted by users. All functions
 * are for the host's main thread.
 *
 * The installed catalogue is what `features.xml` in the plugins folder held when it was loaded. It is loaded when the
 * installed plugins are published, which `Corvane::startNormal` and `IPluginMgr::discover` do, and by an update check.
 *
 * An update has two halves. This class does the first: it finds out what is newer on the update sites, and fetches it.
 * What is installed stays as it is, whatever happens meanwhile. `IInstallMgr` does the second, at the next start.
 *
 * @code
 * if (IConfigMgr::checkForUpdates()["result_code"].toInt() == 0 && userAgrees()) {
 *     IConfigMgr::connectProgressSlot(this, SLOT(onProgress(QString,qint64,qint64)));
 *     if (IConfigMgr::doUpdateOn(QStringList())["result_code"].toInt() == 0)
 *         Corvane::restart();
 * }
 * @endcode
 */
class NORVALE_EXPORT IConfigMgr
{
public:
    IConfigMgr() = delete;

    /// How a check or an update ended: the numbers of "result_code".
    enum ResultCode {
        UpdateFound = 0, ///< There is an update, or a newer runtime, or a newer description of the repository.
        UpdateReady = UpdateFound, ///< Of doUpdateOn(): it is fetched, and installed at the next start.
        Cancelled = 1,             ///< cancelUpdate() was called.
        NothingNewer = 2,          ///< No repository was found or reached, it has no features, or nothing is newer.
        NotFetched = 3,            ///< Something could not be fetched, verified or stored.
        NotChecked = 4,            ///< No initialization, a check or update under way, or a damaged features file.
        FeatureMissing = 5,        ///< The newest repository lacks a feature that is needed.
    };

    /**
     * Tells whether the installed catalogue holds a feature of this name, whatever its version and its active flag.
     *
     * The catalogue in memory is searched; the features file is not read for the question.
     * @param name name of the feature, compared case-sensitively.
     * @return false when there is none, and for every name until the installed catalogue has been loaded.
     */
    static bool isFeatureInstalled(const QString& name);

    /**
     * Lists the features of the installed catalogue in memory.
     *
     * @return copies of their facts in catalogue order; empty until the installed catalogue has been loaded, and when
     * the features file is absent or was not readable (the reason stands in the log channel "ConfigurationMgr").
     */
    static QList<cFeatureInfo> installedFeatures();

    /**
     * Compares the installed features with the newest repository of the update locations in the settings.
     *
     * The call returns when the sites have answered or failed to. Meanwhile it serves the thread's event queue in steps
     * of at most 100 milliseconds, so slots and timers run; one that calls this function or doUpdateOn() is refused.
     * The installed catalogue is loaded first if it is empty. What is installed does not change. An update that waits
     * in the Dropbox folder is discarded when every location was reached and none offers anything newer: it has been
     * withdrawn; and with it what has been fetched of one that was never whole.
     *
     * @return an object. A key is there only from the step on at which its value is known:
     * | Key | Type | Meaning |
     * |---|---|---|
     * | "result_code" | integer | The outcome, see below; always there. |
     * | "current_version" | string | Version of the installed repository, in print form: "1.02.003". |
     * | "update_to_version" | string | Version of the newest repository; absent when none was found. |
     * | "requires_new_core" | boolean | Whether a newer runtime is needed first; absent when no repository was found. |
     * | "size" | integer | Bytes of the packages to fetch, 0 for a newer runtime; absent where neither is known. |
     * | "notes" | array | What the update brings, for people; absent when the repository has no release notes for it. |
     *
     * An element of "notes" is an object with "feature", "version" (in print form) and "text", which may have several
     * lines. There is one for each version with notes above the installed one, the newest first, up to the one that is
     * offered; of a feature that is not installed, and of one that comes from another repository, for that alone. The
     * language is that of the locale, else "en-us", else the first that there is.
     *
     * | "result_code" | Meaning |
     * |---|---|
     * | 0, UpdateFound | There is an update, or a newer runtime, or only the description of the repository is newer. |
     * | 2, NothingNewer | There is none: no repository was found or reached, it has no features, or none is newer. |
     * | 4, NotChecked | No check was made: no `Corvane::initialize`, one is under way, or a damaged features file. |
     * | 5, FeatureMissing | The newest repository lacks a feature that is installed, asked for or depended on. |
     *
     * Why a site, a document or a feature was passed over stands in the log channel "ConfigurationMgr".
     */
    static cJsonValue checkForUpdates();

    /**
     * Makes the check of checkForUpdates() and fetches what it found, ready to be installed at the next start.
     *
     * Packages are verified against their SHA-1 and laid into the Dropbox folder, last of all the description that
     * makes them count. Several are fetched at a time. One that lies there whole already is not fetched again, and of
     * one that lies there in part only the rest; where the repository has a patch for the installed version of a plugin
     * whose files nobody has changed, the package is made again from these. When a newer runtime is required, its setup
     * program is fetched into the data folder instead, and `Corvane::restartSetupFilename` names it. A run that fails,
     * is cancelled or killed leaves the installation as it was, and an update fetched earlier too, unless the same
     * version of a package has since changed on the site: an update whose package is replaced is withdrawn.
     *
     * @param names features to take in beside the installed ones, such as new ones to install; empty for an update.
     * @return the object of the check. When its code was other than 0, nothing was fetched; otherwise it has become:
     * | "result_code" | Meaning |
     * |---|---|
     * | 0, UpdateReady | All is ready for a restart; "requires_new_core" tells whether to run the setup program then. |
     * | 1, Cancelled | cancelUpdate() was called, during the check or later. |
     * | 3, NotFetched | Something could not be fetched, verified or stored; "failed" names it. |
     *
     * | "failed" (string) | What it was |
     * |---|---|
     * | "name-version" | The package of a plugin, version in print form. |
     * | the runtime's name | The setup program of the newer runtime. |
     * | "core_version" | The repository cannot be installed over the installed version, which is too old. |
     * | "repository.xml" | The description could not be written into the Dropbox folder. |
     *
     * When several failed, "failed" is the first of them in the order of the repository. Beside the check's members the
     * object has "fetched" (integer), unless a newer runtime is fetched: the bytes of packages and patches that came
     * from the sites in this run. It is less than "size" where something lay there already or was patched.
     *
     * The reason of a 3 stands in the log channel "ConfigurationMgr". Like a check, the call serves the event queue
     * while it waits, and is refused with code 4 while a check or update is under way.
     */
    static cJsonValue doUpdateOn(QStringList names);

    /**
     * Cancels the update under way: doUpdateOn() ends its transfers and returns code 1. For a slot or event that is
     * delivered while it waits. What had arrived is kept for the next try, parts of packages too.
     *
     * A mere check ends too, and answers with code 2. When nothing is under way, nothing happens.
     */
    static void cancelUpdate();

    /**
     * Connects a slot to the progress of downloads, with the automatic connection type.
     *
     * The slot is called with the name of what is being fetched, the bytes received so far and the bytes expected.
     * While an update fetches its packages, name and numbers stand for all of them together, for one bar: the name is
     * the repository's name and version, the numbers are those of the bytes to fetch, be it packages or patches. What
     * lies there already counts as received. Where a patch is of no use, the bytes of its package are added.
     * @param receiver the object whose slot is called; not owned. The connection ends with it.
     * @param slot the slot in the form that `QObject::connect` takes, such as
     * `SLOT(onProgress(QString,qint64,qint64))`. A null pointer in either place, a slot that does not exist, and a call
     * before `Corvane::initialize` connect nothing; the reason goes to the log.
     */
    static void connectProgressSlot(QObject* receiver, const char* slot);

    /**
     * Lists the update sites in the host's settings, also before `Corvane::initialize`.
     *
     * @return their URLs in the order in which a check asks them; an entry without a URL is an empty one.
     */
    static QList<QUrl> updateLocations();

    /**
     * Replaces the update sites in the host's settings; the next check asks the new ones. Also before
     * `Corvane::initialize`; the host has set its organisation and application names.
     *
     * @param urls where each site's `site.xml` lies, without that name, in the order in which they are to be asked;
     * http, https or file. They are not tried.
     * @return false when the settings cannot be written; the reason stands in the log channel "ConfigurationMgr".
     */
    static bool setUpdateLocations(const QList<QUrl>& urls);

    /**
     * Tells how the update sites have answered the last check of this process, or the last update.
     *
     * @return no sites and no failures before the first one, and while one is under way.
     */
    static cSitesOutcome lastSites();

    /**
     * Pins a root of trust, for all hosts of this machine: from then on only what the holders of its keys have
     * published is fetched and installed.
     *
     * Metadata of The Update Framework, which a site keeps in its folder "tuf", tell what that is. Each update site
     * must have them, signed by the keys of this root or of one that it has been followed by; a site that does not is
     * passed over, with its reason in lastSites(). Packages and setup programs are held against them when they are
     * fetched and again when they are installed. The root stands in the machine-wide settings, the metadata that were
     * verified last in the folder "Trust" of the installation, both of which the caller must be able to write.
     * @param root the text of the root metadata, such as of the site's "tuf/1.root.json", which has come by a way that
     * is trusted. A root that is pinned already is replaced by another one.
     * @param error told why it is not pinned; null when nobody wants to know.
     * @return false when it is no root that its own keys have signed, the library was built without cryptography, the
     * settings cannot be written, or before `Corvane::initialize`. Nothing has changed then.
     */
    static bool pinTrust(const QByteArray& root, QString* error);

    /**
     * Pins no root any more: updates are installed as the sites offer them, and what was verified is forgotten.
     *
     * @param error told why that failed; null when nobody wants to know.
     * @return false when the settings or the folder "Trust" cannot be written, or before `Corvane::initialize`.
     */
    static bool unpinTrust(QString* error);

    /**
     * Tells what the installation trusts, as settings and disk tell it now.
     *
     * @return nothing pinned before `Corvane::initialize`.
     */
    static cTrustState trustState();
};
