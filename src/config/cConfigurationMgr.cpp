#include "config/cConfigurationMgr.h"

#include "config/cCatalogueReader.h"
#include "config/cCatalogueWriter.h"
#include "config/cDropbox.h"
#include "config/cPublication.h"
#include "config/cUpdateApply.h"
#include "config/cUpdateCheck.h"
#include "config/cUpdateMgr.h"
#include "core/Files.h"
#include "core/InstallRecord.h"
#include "log/cFrameworkLog.h"
#include "plugins/cFileRecord.h"
#include "plugins/cPluginMgr.h"
#include "version/ForeignCode.h"

#include <Norvale/Corvane.h>

#include <QtCore/QBuffer>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QPointer>
#include <QtCore/QScopedValueRollback>

#include <algorithm>

namespace {

cConfigurationMgr* s_configurationMgr = nullptr;

QString featuresFile()
{
    return Corvane::velmiraFolderOrFile(Corvane::FeaturesFile);
}

cFeatureInfo infoOf(const cFeatureInstance& feature)
{
    cFeatureInfo info;
    info.name = feature.name();
    info.version = feature.version();
    info.active = feature.isActive();
    info.repository = feature.repository();
    for (const cFeatureInstance::DisplayName& name : feature.displayNames())
        info.displayNames.insert(name.language, name.text);
    for (const QSharedPointer<cFeaturePlugin>& plugin : feature.plugins())
        info.plugins.append(plugin->id().toString());
    return info;
}

/// What reading a catalogue document has come to.
struct cCatalogueFile
{
    QByteArray xml;
    QString error;   // why it is not read; the texts of both are as cConfigurationMgr::catalogueFault()
    QString foreign; // by what it is known as a document of another kind, although it has been read
};

cCatalogueFile readCatalogue(const QString& path, cFeatureCatalogue& catalogue)
{
    cCatalogueFile file;
    QString cause;
    if (!readFile(path, file.xml, &cause)) {
        file.error = QStringLiteral("%1: cannot be read: %2").arg(path, cause);
        return file;
    }
    cCatalogueReader reader(catalogue);
    if (!reader.read(file.xml))
        file.error = path + QLatin1String(": ") + reader.errorString();
    else if (!reader.foreignRoot().isEmpty())
        file.foreign = path + QLatin1String(": ") + reader.foreignRoot();
    return file;
}

} // namespace

cConfigurationMgr::cConfigurationMgr(cPluginMgr& plugins) : m_plugins(plugins), m_log(cFrameworkLog::configuration())
{
    s_configurationMgr = this;
}

cConfigurationMgr::~cConfigurationMgr()
{
    s_configurationMgr = nullptr;
}

cConfigurationMgr* cConfigurationMgr::instance()
{
    return s_configurationMgr;
}

bool cConfigurationMgr::loadFeatures()
{
    m_installed.clear();
    m_catalogueFault.clear();
    const QString path = featuresFile();
    QString reason = QStringLiteral("%1 does not exist; the installation folder is %2").arg(path, installRecordPlace());
    cCatalogueFile file;
    if (!isAbsent(path)) {
        file = readCatalogue(path, m_installed);
        reason = m_catalogueFault = file.error.isEmpty() ? file.foreign : file.error;
    }
    // The start loads the file twice; the reason is logged once.
    if (!reason.isEmpty() && reason != m_loggedReason)
        (m_catalogueFault.isEmpty() ? m_log.warning() : m_log.error()).noquote()
            << "No installed features:" << reason << Qt::endl;
    m_loggedReason = reason;
    if (reason.isEmpty() && isTrusted(file.xml))
        keepAsLast(file.xml);
    return reason.isEmpty();
}

bool cConfigurationMgr::readAvailable(const QString& path)
{
    m_available = cFeatureCatalogue();
    const cCatalogueFile file = readCatalogue(path, m_available);
    if (!file.error.isEmpty())
        m_log.error().noquote() << "No repository description:" << file.error << Qt::endl;
    else if (!file.foreign.isEmpty())
        m_log.warning().noquote() << "A repository description without features:" << file.foreign << Qt::endl;
    return file.error.isEmpty();
}

QString cConfigurationMgr::lastFeaturesFile()
{
    return QFileInfo(featuresFile()).dir().absoluteFilePath(QStringLiteral("features.last.xml"));
}

// One changed letter can make another whole document. What has come about like that must not replace the copy that a
// repair needs; nor must what somebody has written into the file, who is told so.
bool cConfigurationMgr::isTrusted(const QByteArray& xml)
{
    QByteArray last;
    cFileRecord record;
    if ((readFile(lastFeaturesFile(), last, nullptr) && last == xml) || !record.read() || record.knowsCatalogue(xml))
        return true;
    if (!m_hasWarned) {
        m_log.warning().noquote()
            << featuresFile() << "is not as it was written last; verifying compares all, and a repair brings it back"
            << Qt::endl;
    }
    m_hasWarned = true;
    return false;
}

void cConfigurationMgr::keepAsLast(const QByteArray& xml)
{
    QByteArray last;
    QString error;
    const bool isKept =
        (readFile(lastFeaturesFile(), last, nullptr) && last == xml) || replaceFile(lastFeaturesFile(), xml, &error);
    if (!isKept && error != m_loggedLast)
        m_log.info().noquote() << "The catalogue of installed features has no copy for a repair:" << error << Qt::endl;
    m_loggedLast = error;
}

QByteArray cConfigurationMgr::featuresText(const QVector<QSharedPointer<cFeatureInstance>>& features)
{
    QBuffer text; // a text file, as all documents that are saved
    text.open(QIODevice::WriteOnly | QIODevice::Text);
    text.write(cCatalogueWriter::installed(features, Corvane::currentVersion()));
    return text.data();
}

bool cConfigurationMgr::saveFeatures(const QVector<QSharedPointer<cFeatureInstance>>& features)
{
    const QByteArray xml = featuresText(features);
    QString error;
    if (replaceFile(featuresFile(), xml, &error)) {
        m_catalogueFault.clear();
        keepAsLast(xml);
        return true;
    }
    m_log.error().noquote() << "Cannot write the features file:" << error << Qt::endl;
    return false;
}

bool cConfigurationMgr::publishInstalledPlugins()
{
    // A features file that cannot be loaded leaves an empty catalogue, which is published like any other.
    m_publicationError.clear();
    if (m_installed.isEmpty() && !loadFeatures())
        m_publicationError = m_catalogueFault;
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

bool cConfigurationMgr::isInDevelopment(const cPluginId& id) const
{
    const QSharedPointer<cFeatureInstance> feature =
        m_installed.find(QString::fromLatin1(cFeatureInstance::DevelopmentName));
    if (!feature)
        return false;
    const QVector<QSharedPointer<cFeaturePlugin>> plugins = feature->plugins();
    return std::any_of(plugins.begin(), plugins.end(),
                       [&](const QSharedPointer<cFeaturePlugin>& plugin) { return plugin->id() == id; });
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
    // An installation without features is checked like any other; of one whose features are not known, all would be
    // taken for new, or for gone.
    if (m_installed.isEmpty() && !loadFeatures() && !m_catalogueFault.isEmpty()) {
        m_log.error().noquote() << "Updates are not checked for: what is installed is not known," << m_catalogueFault
                                << Qt::endl;
        return cUpdateCheck::notChecked();
    }
    const QPointer<cUpdateMgr> updates(cUpdateMgr::instance());
    const cJsonValue result = check.run(names, *updates);
    if (result.get("result_code", -1).toInt() == IConfigMgr::NothingNewer && updates && updates->isComplete())
        discardWithdrawn();
    return result;
}

/// What an earlier check found is offered no more.
void cConfigurationMgr::discardWithdrawn()
{
    cDropbox dropbox;
    const bool hadUpdate = dropbox.hasUpdate();
    const QString left = dropbox.discard();
    if (left.isEmpty() && hadUpdate)
        m_log.info() << "The update that waited to be installed is discarded: the update sites offer it no more"
                     << Qt::endl;
    else if (!left.isEmpty())
        m_log.warning().noquote() << "An update that the update sites offer no more cannot be discarded whole:" << left
                                  << Qt::endl;
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
    const QString thrown = whatIsThrownBy([&] {
        if (!m_overallLabel.isEmpty() && m_overallTotal >= 1)
            emit progress(m_overallLabel, m_overallBase + bytesReceived, m_overallTotal);
        else
            emit progress(fname, bytesReceived, bytesTotal);
    });
    if (!thrown.isEmpty())
        m_log.error().noquote() << "A receiver of the progress" << thrown << Qt::endl;
}
