#include "Place.h"

#include "config/cCatalogueReader.h"
#include "install/cInstallPlan.h"
#include "plugins/cFileRecord.h"

#include <MachineProgram.h>
#include <MovedState.h>
#include <Norvale/Corvane.h>
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

QString Place::said() const
{
    return QString(Corvane::FileReadAll(m_folder + ".log", nullptr));
}

QList<QByteArray> Place::report() const
{
    return Corvane::FileReadAll(m_folder + ".report", nullptr).trimmed().split('\n');
}

bool Place::write(const QString& path, const QByteArray& content) const
{
    QFile file(m_folder + '/' + path);
    return QFileInfo(file).dir().mkpath(".") && file.open(QFile::WriteOnly) && file.write(content) == content.size();
}

bool Place::removeFolder(const QString& path) const
{
    return QDir(m_folder + '/' + path).removeRecursively();
}

bool Place::offer(const QString& where, const QStringList& words) const
{
    const QStringList all = QStringList{PACKAGES_PY, "repository", m_folder + "/" + where} + words;
    return MachineProgram::execute("python3", all) == 0;
}

bool Place::offerPatch(const QString& where, const QString& name) const
{
    const QString folder = m_folder + '/' + where + '/';
    const QString old = m_folder + "/core/plugins/" + name + "-1.00.000";
    const QStringList words{PATCHES_PY, "make", old, folder + name + "-2.00.000.zip", folder + "patch"};
    if (MachineProgram::execute("python3", words) != 0)
        return false;
    const QByteArray patch = Corvane::FileReadAll(folder + "patch", nullptr);
    QByteArray xml = Corvane::FileReadAll(folder + "repository.xml", nullptr);
    const QByteArray hash = QCryptographicHash::hash(patch, QCryptographicHash::Sha1).toHex();
    const int place = xml.indexOf("</plugin>", xml.indexOf("<plugin name=\"" + name.toUtf8()));
    xml.insert(place,
               "<delta from='1.0' size='" + QByteArray::number(patch.size()) + "' hash='" + hash + "'>patch</delta>");
    return write(where + "/repository.xml", xml);
}

Tree Place::plugins() const
{
    Tree tree = treeOf(m_folder + "/core/plugins");
    const auto entry = tree.find("files.json");
    cFileRecord record;
    if (entry == tree.end() || !record.fromBytes(entry->second))
        return tree;
    // Of what is installed, and without the times; what has been replaced may stay in it or not.
    cFeatureCatalogue installed;
    cFileRecord shown;
    (void)cCatalogueReader(installed).read(tree["features.xml"]);
    for (const cPluginId& id : pluginsOf(installed.features())) {
        cFileRecord::Files files = record.files(id);
        for (cRecordedFile& file : files)
            file.changed = 0;
        shown.set(id, files);
    }
    entry->second = shown.toBytes();
    return tree;
}

Tree Place::data() const
{
    return treeOf(m_folder + "/data/NorvaleTests/Fixture");
}

Tree Place::trust() const
{
    return treeOf(m_folder + "/core/Trust");
}

Tree Place::site() const
{
    return treeOf(m_folder + "/site");
}

QStringList Place::unrecorded() const
{
    const QString plugins = m_folder + "/core/plugins/";
    const auto bytesOf = [&](const QString& name) { return Corvane::FileReadAll(plugins + name, nullptr); };
    cFeatureCatalogue installed;
    cFileRecord record;
    QStringList faults;
    if (!cCatalogueReader(installed).read(bytesOf("features.xml")) || !record.fromBytes(bytesOf("files.json")))
        return {"features.xml or files.json " + record.errorString()};
    for (const cPluginId& id : pluginsOf(installed.features())) {
        const cFileRecord::Files files = record.files(id);
        for (const QString& name : files.isEmpty() ? QStringList{"Manifest.xml"} : files.keys())
            faults << id.toString() + '/' + name + ' ' + files[name].difference(plugins + id.toString() + '/' + name);
    }
    return faults.filter(QRegularExpression(" .")); // those that differ in something
}

QByteArray Place::settings() const
{
    return MovedState::machineSettings(m_folder).replace(m_folder.toUtf8(), "FOLDER");
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
