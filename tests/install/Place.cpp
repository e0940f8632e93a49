#include "Place.h"

#include "config/cCatalogueReader.h"
#include "install/cInstallPlan.h"
#include "plugins/cFileRecord.h"

#include <MovedState.h>
#include <Platform.h>

#include <QtCore/QtCore>

int Place::run(const QString& steps, const QString& faults) const
{
    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    MovedState::addTo(environment, m_folder);
    environment.insert("QT_HASH_SEED", "0");            // the order of attributes in written XML
    environment.insert("QT_BEARER_POLL_TIMEOUT", "-1"); // no looking for network interfaces
    if (!faults.isEmpty()) {
        environment.insert("LD_PRELOAD", FILE_FAULTS);
        environment.insert("ASAN_OPTIONS", "verify_asan_link_order=0:detect_leaks=0");
        environment.insert("FILE_FAULTS", faults);
        environment.insert("FILE_FAULTS_BELOW", m_folder);
        environment.insert("FILE_FAULTS_REPORT", m_folder + ".report");
    }
    QFile::remove(m_folder + ".report");
    child.setProcessEnvironment(environment);
    child.setStandardErrorFile(QProcess::nullDevice());
    child.setStandardOutputFile(m_folder + ".log");
    Platform::startAgain(child, {"child", m_folder, steps});
    child.waitForFinished(-1);
    if (child.error() == QProcess::FailedToStart)
        return -2;
    return child.exitStatus() == QProcess::CrashExit ? -1 : child.exitCode();
}

Tree Place::state() const
{
    Tree state{{"settings", MovedState::machineSettings(m_folder).replace(m_folder.toUtf8(), "FOLDER")}};
    const QRegularExpression counts("^(core/(plugins|Trust)|data)/.");
    for (const auto& [name, content] : treeOf(m_folder)) {
        if (name.contains(counts))
            state[name] = content;
    }
    const auto entry = state.find("core/plugins/files.json");
    cFileRecord record;
    if (entry == state.end() || !record.fromBytes(entry->second))
        return state;
    // Of what is installed, and without the times; what has been replaced may stay in it or not.
    cFeatureCatalogue installed;
    cFileRecord shown;
    (void)cCatalogueReader(installed).read(state["core/plugins/features.xml"]);
    for (const cPluginId& id : pluginsOf(installed.features())) {
        cFileRecord::Files files = record.files(id);
        for (cRecordedFile& file : files)
            file.changed = 0;
        shown.set(id, files);
    }
    entry->second = shown.toBytes();
    return state;
}

QStringList Place::unrecorded() const
{
    const QString plugins = path("core/plugins/");
    cFeatureCatalogue installed;
    cFileRecord record;
    QStringList faults;
    if (!cCatalogueReader(installed).read(readFile(plugins + "features.xml")) ||
        !record.fromBytes(readFile(plugins + "files.json")))
        return {"features.xml or files.json " + record.errorString()};
    for (const cPluginId& id : pluginsOf(installed.features())) {
        const cFileRecord::Files files = record.files(id);
        for (const QString& name : files.isEmpty() ? QStringList{"Manifest.xml"} : files.keys())
            faults << id.toString() + '/' + name + ' ' + files[name].difference(plugins + id.toString() + '/' + name);
    }
    return faults.filter(QRegularExpression(" .")); // those that differ in something
}

void Place::age() const
{
    const QStringList names{"*.lock", "*.json.??????", "origin.??????"};
    for (QDirIterator it(m_folder, names, QDir::Files, QDirIterator::Subdirectories); it.hasNext();) {
        QFile file(it.next());
        if (file.open(QFile::ReadWrite))
            file.setFileTime(QDateTime::currentDateTime().addSecs(-90), QFile::FileModificationTime);
    }
}

void Place::save()
{
    m_saved = treeOf(m_folder);
    MovedState::save(m_folder);
}

bool Place::restore() const
{
    MovedState::restore(m_folder);
    return restoreTree(m_folder, m_saved);
}

void Place::remove() const
{
    MovedState::remove(m_folder);
}
