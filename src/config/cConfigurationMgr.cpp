#include "config/cConfigurationMgr.h"

#include "config/cCatalogueReader.h"
#include "config/cCatalogueWriter.h"
#include "config/cPublication.h"
#include "plugins/cPluginMgr.h"

#include <Norvale/Corvane.h>
#include <Norvale/cLogCentral.h>

#include <QtCore/QFile>

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
        info.plugins.append(plugin->identity());
    return info;
}

} // namespace

cConfigurationMgr::cConfigurationMgr(cPluginMgr& plugins)
    : m_plugins(plugins), m_log(cLogCentral::log(QStringLiteral("ConfigurationMgr")))
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
    const QString fault = readFeatures(path);
    // The start asks twice for what is installed; one line tells it.
    if (!fault.isEmpty() && fault != m_reportedFault)
        m_log.warning() << "No installed features:" << path << fault << Qt::endl;
    m_reportedFault = fault;
    return fault.isEmpty();
}

QString cConfigurationMgr::readFeatures(const QString& path)
{
    bool isRead = false;
    const QByteArray xml = Corvane::FileReadAll(path, &isRead);
    if (!isRead)
        return QFile::exists(path) ? QStringLiteral("cannot be read") : QStringLiteral("does not exist");
    cCatalogueReader reader(m_installed);
    return reader.read(xml) ? QString() : reader.errorString();
}

bool cConfigurationMgr::saveFeatures(const QList<QSharedPointer<cFeatureInstance>>& features)
{
    const QString path = Corvane::velmiraFolderOrFile(Corvane::FeaturesFile);
    QDomDocument document = cCatalogueWriter::document(features, Corvane::currentVersion());
    if (Corvane::SaveDomToFile(document, path))
        return true;
    m_log.error() << "Cannot write the features file" << path << Qt::endl;
    return false;
}

bool cConfigurationMgr::publishInstalledPlugins()
{
    // A features file that cannot be loaded leaves an empty catalogue, which is published like any other.
    if (m_installed.isEmpty())
        (void)loadFeatures();
    cPublication publication;
    for (const QSharedPointer<cFeatureInstance>& feature : m_installed.features()) {
        if (!publication.add(*feature)) {
            m_log.error() << "Installed plugins are not published:" << publication.errorString() << Qt::endl;
            return false;
        }
    }
    m_plugins.clearAllowed();
    const QVector<QSharedPointer<cFeaturePlugin>> plugins = publication.plugins();
    for (const QSharedPointer<cFeaturePlugin>& plugin : plugins)
        m_plugins.registerPlugin(plugin->name(), plugin->version());
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
