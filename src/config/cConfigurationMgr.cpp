#include "config/cConfigurationMgr.h"

#include "config/cCatalogueReader.h"
#include "config/cCatalogueWriter.h"
#include "config/cPublication.h"
#include "config/cUpdateApply.h"
#include "config/cUpdateCheck.h"
#include "config/cUpdateMgr.h"
#include "core/Files.h"
#include "log/cFrameworkLog.h"
#include "plugins/cPluginMgr.h"

#include <Norvale/Corvane.h>

#include <QtCore/QBuffer>
#include <QtCore/QFile>
#include <QtCore/QScopedValueRollback>

namespace {

cConfigurationMgr* s_instance = nullptr;

cFeatureInfo infoOf(const cFeatureInstance& feature)
{
    cFeatureInfo info;
    info.name = feature.name();
    info.version = feature.version();
    info.active = feature.isActive();
    info.repository = feature.repository();
    for (auto it = feature.displayNames().begin(); it != feature.displayNames().end(); ++it)
        info.displayNames.insert(it.key().second, it.value());
    for (const QSharedPointer<cFeaturePlugin>& plugin : feature.plugins())
        info.plugins.append(plugin->id().toString());
    return info;
}

} // namespace

cConfigurationMgr::cConfigurationMgr(cPluginMgr& plugins) : m_plugins(plugins), m_log(cFrameworkLog::configuration())
{
    s_instance = this;
}

cConfigurationMgr::~cConfigurationMgr()
{
    s_instance = nullptr;
}

cConfigurationMgr* cConfigurationMgr::instance()
{
    return s_instance;
}

bool cConfigurationMgr::loadFeatures()
{
    m_installed.clear();
    const QString path = Corvane::velmiraFolderOrFile(Corvane::FeaturesFile);
    const QString reason = readCatalogue(path, m_installed);
    // The start loads the file twice; the reason is logged once.
    if (!reason.isEmpty() && reason != m_loggedReason)
        m_log.warning().noquote() << "No installed features:" << path << reason << Qt::endl;
    m_loggedReason = reason;
    return reason.isEmpty();
}

bool cConfigurationMgr::readAvailable(const QString& path)
{
    m_available = cFeatureCatalogue();
    const QString reason = readCatalogue(path, m_available);
    if (!reason.isEmpty())
        m_log.error().noquote() << "No repository description:" << path << reason << Qt::endl;
    return reason.isEmpty();
}

QString cConfigurationMgr::readCatalogue(const QString& path, cFeatureCatalogue& catalogue)
{
    bool isRead = false;
    const QByteArray xml = Corvane::FileReadAll(path, &isRead);
    if (!isRead)
        return QFile::exists(path) ? QStringLiteral("cannot be read") : QStringLiteral("does not exist");
    cCatalogueReader reader(catalogue);
    return reader.read(xml) ? QString() : reader.errorString();
}

bool cConfigurationMgr::saveFeatures(const QVector<QSharedPointer<cFeatureInstance>>& features)
{
    QBuffer text; // a text file, as all documents that are saved
    text.open(QIODevice::WriteOnly | QIODevice::Text);
    text.write(cCatalogueWriter::installed(features, Corvane::currentVersion()));
    QString error;
    if (replaceFile(Corvane::velmiraFolderOrFile(Corvane::FeaturesFile), text.data(), &error))
        return true;
    m_log.error().noquote() << "Cannot write the features file:" << error << Qt::endl;
    return false;
}

bool cConfigurationMgr::publishInstalledPlugins()
{
    // A features file that cannot be loaded leaves an empty catalogue, which is published like any other.
    m_publicationError.clear();
    const QString path = Corvane::velmiraFolderOrFile(Corvane::FeaturesFile);
    if (m_installed.isEmpty() && !loadFeatures() && QFile::exists(path))
        m_publicationError = path + QLatin1Char(' ') + m_loggedReason;
    cPublication publication;
    for (const QSharedPointer<cFeatureInstance>& feature : m_installed.features()) {
        if (!publication.add(*feature)) {
            m_publicationError = publication.errorString();
            m_log.error().noquote() << "Installed plugins are not published:" << m_publicationError << Qt::endl;
            return false;
        }
    }
    m_plugins.clearAllowed();
    const QVector<QSharedPointer<cFeaturePlugin>> plugins = publication.plugins();
    for (const QSharedPointer<cFeaturePlugin>& plugin : plugins)
        m_plugins.registerPlugin(plugin->id());
    return true;
}

bool cConfigurationMgr::isFeatureInstalled(const QString& name) const
{
    return !m_installed.find(name).isNull();
}

QList<cFeatureInfo> cConfigurationMgr::installedFeatures() const
{
    QList<cFeatureInfo> infos;
    infos.reserve(m_installed.features().size());
    for (const QSharedPointer<cFeatureInstance>& feature : m_installed.features())
        infos.append(infoOf(*feature));
    return infos;
}

void cConfigurationMgr::connectProgressSlot(QObject* receiver, const char* slot)
{
    if (!receiver || !slot || !connect(this, SIGNAL(progress(QString, qint64, qint64)), receiver, slot))
        m_log.warning() << "Progress is not connected: no receiver, or no slot" << (slot ? slot + 1 : "") << Qt::endl;
}

cJsonValue cConfigurationMgr::checkForUpdates()
{
    if (!canBegin())
        return cUpdateCheck::notChecked();
    const QScopedValueRollback<bool> underWay(m_isUpdating, true);
    cUpdateCheck check(m_installed, m_plugins);
    return makeCheck(check, QStringList());
}

cJsonValue cConfigurationMgr::doUpdateOn(const QStringList& names)
{
    if (!canBegin())
        return cUpdateCheck::notChecked();
    const QScopedValueRollback<bool> underWay(m_isUpdating, true);
    m_isCancelled = false;
    cUpdateCheck check(m_installed, m_plugins);
    cJsonValue result = makeCheck(check, names);
    if (m_isCancelled)
        result["result_code"] = IConfigMgr::Cancelled;
    else if (check.isUpdateAvailable())
        result = apply(check, result);
    return result;
}

bool cConfigurationMgr::canBegin()
{
    if (!m_isUpdating && cUpdateMgr::instance())
        return true;
    m_log.warning() << "Updates are not checked for:"
                    << (m_isUpdating ? "a check or an update is under way" : "the library is not initialized")
                    << Qt::endl;
    return false;
}

cJsonValue cConfigurationMgr::makeCheck(cUpdateCheck& check, const QStringList& names)
{
    // An installation without features is checked like any other.
    if (m_installed.isEmpty())
        (void)loadFeatures();
    return check.run(names, *cUpdateMgr::instance());
}

cJsonValue cConfigurationMgr::apply(const cUpdateCheck& check, const cJsonValue& result)
{
    cUpdateApply apply(check);
    const QScopedValueRollback<cUpdateApply*> underWay(m_apply, &apply);
    connect(&apply, &cUpdateApply::progress, this, &cConfigurationMgr::onProgress);
    connect(&apply, &cUpdateApply::overallProgress, this, &cConfigurationMgr::setOverallProgress);
    const cJsonValue outcome = apply.run(result);
    setOverallProgress(QString(), 0, 0);
    return outcome;
}

void cConfigurationMgr::cancelUpdate()
{
    m_isCancelled = true;
    if (cUpdateMgr* updates = cUpdateMgr::instance())
        updates->cancel();
    if (m_apply)
        m_apply->cancel();
}

void cConfigurationMgr::setOverallProgress(const QString& label, qint64 base, qint64 total)
{
    m_overallLabel = label;
    m_overallBase = base;
    m_overallTotal = total;
}

void cConfigurationMgr::onProgress(QString fname, qint64 bytesReceived, qint64 bytesTotal)
{
    if (!m_overallLabel.isEmpty() && m_overallTotal >= 1)
        emit progress(m_overallLabel, m_overallBase + bytesReceived, m_overallTotal);
    else
        emit progress(fname, bytesReceived, bytesTotal);
}
