#include "install/cVerification.h"

#include "config/cCatalogueReader.h"
#include "config/cConfigurationMgr.h"
#include "core/Files.h"
#include "core/Settings.h"
#include "disk/WholeFiles.h"
#include "install/cInstallMgr.h"
#include "install/cInstallPlan.h"
#include "plugins/ManifestRules.h"
#include "plugins/cManifestReader.h"
#include "plugins/cPluginInstance.h"

#include <Norvale/Corvane.h>

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFileInfo>

namespace {

/// The files of the suite itself in the plugins folder; a "*" stands for what is written beside one of them.
const QStringList& ownFiles()
{
    static const QStringList names{QStringLiteral("features*.xml*"), QStringLiteral("files.json*"),
                                   QStringLiteral("unfinished.*")};
    return names;
}

/// What tells the features file, or its copy, from those that the suite has written; empty when nothing does.
QString changeOf(const QString& path)
{
    QByteArray xml;
    cFileRecord record;
    if (!readFile(path, xml, nullptr) || !record.read() || record.knowsCatalogue(xml))
        return QString();
    return QStringLiteral("%1 has another content than was written").arg(path);
}

qint64 unitsOf(qint64 bytes)
{
    constexpr qint64 Unit = 64 * 1024; // a file counts as one, and each further 64 KiB of it as much
    return 1 + bytes / Unit;
}

} // namespace

cFileRecord::Files filesIn(const QString& folder, const cFileRecord::Files& known)
{
    cFileRecord::Files files;
    const QDir base(folder);
    QDirIterator entries(folder, QDir::Files | QDir::Hidden | QDir::System | QDir::NoSymLinks,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString path = entries.next();
        const QString name = base.relativeFilePath(path);
        cRecordedFile file = known.value(name);
        QString ignored;
        if ((known.contains(name) && file.looksUntouched(entries.fileInfo())) || file.take(path, &ignored))
            files.insert(name, file);
    }
    return files;
}

cInstalledState cInstalledState::read(cConfigurationMgr& configuration)
{
    cInstalledState state;
    const QString features = Corvane::velmiraFolderOrFile(Corvane::FeaturesFile);
    const QString last = cConfigurationMgr::lastFeaturesFile();
    const bool isLoaded = configuration.loadFeatures();
    state.fault = isLoaded ? changeOf(features) : configuration.catalogueFault();
    if (isLoaded && state.fault.isEmpty()) {
        state.catalogue = configuration.installed();
        return state;
    }
    state.isGone = state.fault.isEmpty();
    if (state.isGone)
        state.fault = QStringLiteral("%1 does not exist").arg(features);
    if (state.isGone && isAbsent(last)) {
        state.reason = QStringLiteral("nothing is installed: %1").arg(state.fault);
        return state;
    }
    QString reason;
    cCatalogueReader reader(state.catalogue);
    if (!readFile(last, state.lastXml, &reason))
        state.reason = QStringLiteral("%1; and the copy of the last whole one, %2, cannot be read: %3")
                           .arg(state.fault, last, reason);
    else if (!reader.read(state.lastXml) || !reader.foreignRoot().isEmpty())
        state.reason = QStringLiteral("%1; and the copy of the last whole one, %2, is damaged, too: %3")
                           .arg(state.fault, last, reader.errorString() + reader.foreignRoot());
    else if (isLoaded && !changeOf(last).isEmpty())
        state.reason = QStringLiteral("%1; and so has the copy, %2").arg(state.fault, last);
    if (!isLoaded || state.reason.isEmpty())
        return state;
    // It can be read, so it counts, whoever has written it.
    state.catalogue = configuration.installed();
    state.lastXml.clear();
    state.fault = state.reason;
    state.reason.clear();
    return state;
}

cFeatureCatalogue cInstalledState::lostRepository() const
{
    cFeatureCatalogue lost;
    if (!cMachineSettings().value(QLatin1String(SettingsKey::RepositoryName)).toString().isEmpty())
        return lost;
    for (const QSharedPointer<cFeatureInstance>& feature : catalogue.features()) {
        if (!feature->isDevelopment() && lost.name().isEmpty())
            lost.setName(feature->repository());
    }
    lost.setVersion(catalogue.version());
    return lost;
}

cVerifyOutcome cVerification::run(const cInstalledState& state)
{
    m_outcome.reason = state.reason;
    m_outcome.result = cVerifyOutcome::NotVerified;
    if (!state.reason.isEmpty())
        return m_outcome;
    if (!state.fault.isEmpty())
        add(state.isGone ? Kind::Missing : Kind::Changed, QStringLiteral("features.xml"), state.fault);
    if (!state.lostRepository().name().isEmpty())
        add(Kind::Missing, QStringLiteral("ConfigMgr/RepositoryName"),
            QStringLiteral("is missing in the machine-wide settings"));
    readRecord();
    const QVector<cPluginId> plugins = pluginsOf(state.catalogue.features());
    const auto development = state.catalogue.find(QString::fromLatin1(cFeatureInstance::DevelopmentName));
    for (const cPluginId& id : plugins) {
        m_total += unitsOf(0);
        for (const cRecordedFile& file : m_record.files(id))
            m_total += unitsOf(file.size);
    }
    for (const cPluginId& id : plugins)
        compare(id, development && development->findPlugin(id));
    findForeignFolders(plugins);
    m_outcome.plugins = plugins.size();
    m_outcome.result = cVerifyOutcome::Sound;
    for (const cFileFinding& finding : qAsConst(m_outcome.findings)) {
        if (finding.isFault())
            m_outcome.result = cVerifyOutcome::Faulty;
    }
    return m_outcome;
}

void cVerification::readRecord()
{
    if (m_record.read())
        return;
    add(Kind::Changed, QStringLiteral("files.json"), m_record.errorString());
    m_log.error().noquote() << "The record of installed files counts as none:" << m_record.errorString() << Qt::endl;
}

// The plugins of who develops them change all the time; that they are there is all that can be asked of them.
void cVerification::compare(const cPluginId& id, bool isDevelopment)
{
    const cOperation announced(m_manager, IInstallMgr::OPERATION_VERIFY, id);
    const QDir folder = Corvane::pluginDir(id);
    if (!id.isSafe())
        add(Kind::FolderMissing, id, QString(), QStringLiteral("its name cannot be that of a folder"));
    else if (!QFileInfo(folder.absolutePath()).isDir())
        add(Kind::FolderMissing, id, QString(), QStringLiteral("its folder %1 is missing").arg(folder.absolutePath()));
    else if (m_record.contains(id) && !isDevelopment)
        compareFiles(id, folder);
    else
        compareWithoutRecord(id, folder, isDevelopment);
    step(0);
}

void cVerification::compareFiles(const cPluginId& id, const QDir& folder)
{
    const cFileRecord::Files files = m_record.files(id);
    for (auto file = files.begin(); file != files.end(); ++file) {
        const QString path = folder.absoluteFilePath(file.key());
        const QString difference = file->difference(path);
        if (!difference.isEmpty())
            add(isAbsent(path) ? Kind::Missing : Kind::Changed, id, file.key(), difference);
        ++m_outcome.files;
        step(file->size);
    }
    findForeignFiles(id, folder);
}

void cVerification::compareWithoutRecord(const cPluginId& id, const QDir& folder, bool isDevelopment)
{
    const QString path = folder.absoluteFilePath(ManifestRules::FileName);
    cManifest manifest;
    cManifestReader reader(id, folder.absolutePath(), manifest);
    if (isAbsent(path))
        return add(Kind::Missing, id, ManifestRules::FileName, QStringLiteral("is missing"));
    if (!reader.readFile(path))
        return add(Kind::Changed, id, ManifestRules::FileName, reader.errorString());
    const QString library = manifest.libraryPath + QLatin1String(cPluginInstance::LibrarySuffix);
    if (!manifest.libraryPath.isEmpty() && !QFileInfo(library).isFile())
        add(Kind::Missing, id, folder.relativeFilePath(library), QStringLiteral("is missing"));
    else if (!isDevelopment)
        add(Kind::NoRecord, id, QString(), QStringLiteral("there is no record of its files"));
}

void cVerification::findForeignFiles(const cPluginId& id, const QDir& folder)
{
    const cFileRecord::Files files = m_record.files(id);
    QDirIterator entries(folder.absolutePath(), QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                         QDirIterator::Subdirectories);
    while (entries.hasNext()) {
        const QString name = folder.relativeFilePath(entries.next());
        const bool isFolder = entries.fileInfo().isDir() && !entries.fileInfo().isSymLink();
        if (!isFolder && !files.contains(name))
            add(Kind::Foreign, id, name, QStringLiteral("is not of the plugin's package"));
    }
}

void cVerification::findForeignFolders(const QVector<cPluginId>& plugins)
{
    QSet<QString> known;
    for (const cPluginId& id : plugins)
        known.insert(id.caselessKey());
    const QDir folder(Corvane::velmiraFolderOrFile(Corvane::PluginsFolder));
    const QDir::Filters all = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    for (const QString& name : folder.entryList(all, QDir::Name)) {
        if (!known.contains(caselessFileName(name)) && !QDir::match(ownFiles(), name))
            add(Kind::Foreign, name, QStringLiteral("belongs to no installed plugin"));
    }
}

void cVerification::add(Kind kind, const cPluginId& id, const QString& file, const QString& text)
{
    m_outcome.findings.append({kind, id.toString(), file, text});
    if (m_outcome.findings.last().isFault() && !m_faulty.endsWith(id))
        m_faulty.append(id);
    if (kind == Kind::NoRecord)
        m_unrecorded.append(id);
}

// Of what belongs to no plugin.
void cVerification::add(Kind kind, const QString& file, const QString& text)
{
    m_outcome.findings.append({kind, QString(), file, text});
}

void cVerification::step(qint64 bytes)
{
    m_done += unitsOf(bytes);
    m_manager.tell([&] { emit m_manager.installationProgress(int(m_done), int(m_total)); });
}
