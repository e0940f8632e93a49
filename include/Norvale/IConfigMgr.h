#pragma once

#include <Norvale/NorvaleGlobal.h>
#include <Norvale/cVersion.h>

#include <QtCore/QList>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QStringList>

class QObject;

/**
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

/**
 * Static facade of the configuration manager: what is installed, and how updates progress.
 *
 * `Corvane::initialize` creates the one configuration manager behind it; until then every function here answers as if
 * nothing were installed. It lives until the process ends and is neither created nor deleted by users. All functions
 * are for the host's main thread.
 *
 * The installed catalogue is what `features.xml` in the plugins folder held when it was loaded. It is loaded when the
 * installed plugins are published, which `Corvane::startNormal` and `IPluginMgr::discover` do.
 *
 * @code
 * if (IConfigMgr::isFeatureInstalled(QStringLiteral("Reports")))
 *     showReports();
 * @endcode
 */
class NORVALE_EXPORT IConfigMgr
{
public:
    IConfigMgr() = delete;

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
     * Connects a slot to the progress of downloads, with the automatic connection type.
     *
     * The slot is called with the name of what is being fetched, the bytes received so far and the bytes expected.
     * While several files are fetched for one purpose, name and numbers stand for all of them together.
     * @param receiver the object whose slot is called; not owned. The connection ends with it.
     * @param slot the slot in the form that `QObject::connect` takes, such as
     * `SLOT(onProgress(QString,qint64,qint64))`. A null pointer in either place, a slot that does not exist, and a call
     * before `Corvane::initialize` connect nothing; the reason goes to the log.
     */
    static void connectProgressSlot(QObject* receiver, const char* slot);
};
