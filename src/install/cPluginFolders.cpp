#include "install/cPluginFolders.h"

#include "core/Files.h"
#include "disk/WholeFiles.h"
#include "install/cInstallMgr.h"
#include "plugins/cFileRecord.h"

#include <Norvale/Corvane.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QStringList>

namespace {

/// What a plugin has locked against writing is removed all the same.
void makeWritable(const QString& path)
{
    QFile::setPermissions(path, QFile::permissions(path) | QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

bool isLink(const QFileInfo& entry)
{
    return entry.isSymLink() || entry.isJunction();
}

} // namespace

bool cFolderRemover::remove(const QString& path)
{
    m_errorString.clear();
    const QFileInfo entry(path);
    return (!entry.exists() && !isLink(entry)) || removeEntry(entry);
}

bool cFolderRemover::removeEntry(const QFileInfo& entry)
{
    const QString path = entry.absoluteFilePath();
    return entry.isDir() && !isLink(entry) ? removeFolder(path) : removeFile(path);
}

bool cFolderRemover::removeFolder(const QString& path)
{
    const QFileInfo folder(path);
    if (!folder.isWritable() || !folder.isReadable() || !folder.isExecutable())
        makeWritable(path);
    bool isEmpty = true;
    const QDir::Filters everything = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    for (const QFileInfo& entry : QDir(path).entryInfoList(everything, QDir::Unsorted))
        isEmpty = removeEntry(entry) && isEmpty;
    return isEmpty && (removeEmptyFolder(path) ||
                       fail(path, QStringLiteral("the folder is not empty or in use: ") + causeOfSystem(path)));
}

bool cFolderRemover::removeFile(const QString& path)
{
    // A link to a folder is taken away as a file on some systems, as a folder on others.
    QFile file(path);
    if (file.remove() || QDir().rmdir(path))
        return true;
    const QString reason = causeOfSystem(path, file.errorString());
    if (isLink(QFileInfo(path)))
        return fail(path, reason);
    makeWritable(path);
    return file.remove() || fail(path, reason);
}

bool cFolderRemover::fail(const QString& path, const QString& reason)
{
    if (m_errorString.isEmpty())
        m_errorString = QStringLiteral("%1 cannot be removed: %2").arg(path, reason);
    return false;
}

cFolderJournal::cFolderJournal()
    : m_path(
          QDir(Corvane::velmiraFolderOrFile(Corvane::PluginsFolder)).absoluteFilePath(QStringLiteral("unfinished.txt")))
{
}

bool cFolderJournal::exists() const
{
    return QFile::exists(m_path);
}

bool cFolderJournal::note(const QVector<cPluginId>& plugins)
{
    QStringList lines;
    for (const cPluginId& id : this->plugins() + plugins) {
        if (id.isSafe()) // what has no folder, or would be several lines, is never made
            lines.append(id.toString());
    }
    lines.removeDuplicates();
    return replaceFile(m_path, lines.join(QLatin1Char('\n')).toUtf8() + '\n', &m_errorString);
}

QVector<cPluginId> cFolderJournal::plugins() const
{
    QVector<cPluginId> plugins;
    QByteArray text;
    if (!isAbsent(m_path) && !readFile(m_path, text, nullptr))
        return plugins; // remove() tells why
    for (const QString& line : QString::fromUtf8(text).split(QLatin1Char('\n'))) {
        // Nobody is to have a folder removed that is not one of a plugin.
        const cPluginId id = cPluginId::parse(line);
        if (id.isSafe())
            plugins.append(id);
    }
    return plugins;
}

bool cFolderJournal::remove()
{
    QDir folder = QFileInfo(m_path).dir();
    // What a run that was killed had written beside a file and not yet renamed over it.
    QStringList patterns;
    for (const char* name :
         {"unfinished.txt", "features.xml", "features.last.xml", "features.damaged.xml", "files.json"})
        patterns.append(QLatin1String(name) + QStringLiteral(".??????"));
    for (const QString& name : folder.entryList(patterns, QDir::Files))
        folder.remove(name);
    QFile file(m_path);
    if (!file.exists() || file.remove())
        return true;
    m_errorString = QStringLiteral("%1 cannot be removed: %2").arg(m_path, file.errorString());
    return false;
}

const QLatin1String cFolderSweep::ScratchName("unfinished.repair");

const QLatin1String cFolderSweep::ReplacedName("unfinished.replaced");

QString cFolderSweep::damagedFeaturesFile()
{
    return QDir(Corvane::velmiraFolderOrFile(Corvane::PluginsFolder))
        .absoluteFilePath(QStringLiteral("features.damaged.xml"));
}

void cFolderSweep::run(const QSet<cPluginId>& installed)
{
    cFolderJournal journal;
    if (!journal.exists())
        return;
    QSet<QString> kept;
    for (const cPluginId& id : installed)
        kept.insert(id.caselessKey());
    const QDir folder(Corvane::velmiraFolderOrFile(Corvane::PluginsFolder));
    cFolderRemover remover;
    bool isDone = restoreReplaced();
    if (!remover.remove(folder.absoluteFilePath(ScratchName))) {
        isDone = false;
        m_log.warning().noquote() << remover.errorString() << Qt::endl;
    }
    for (const cPluginId& id : journal.plugins()) {
        if (!kept.contains(id.caselessKey()))
            isDone = remove(id) && isDone;
    }
    if (isDone && !journal.remove())
        m_log.warning().noquote() << journal.errorString() << Qt::endl;
}

// The record is written last: a folder that is as it says has taken the place of the old one.
bool cFolderSweep::restoreReplaced()
{
    const QDir plugins(Corvane::velmiraFolderOrFile(Corvane::PluginsFolder));
    const QDir replaced(plugins.absoluteFilePath(ReplacedName));
    cFileRecord record;
    (void)record.read(); // a damaged one knows of nothing, so the old one counts
    for (const QString& name : replaced.entryList(QDir::Dirs | QDir::Hidden | QDir::NoDotAndDotDot)) {
        const cPluginId id = cPluginId::parse(name);
        const QString place = plugins.absoluteFilePath(name);
        if (!id.isSafe() || (record.contains(id) && cFileRecord::differenceIn(place, record.files(id)).isEmpty()))
            continue;
        QString error;
        cFolderRemover remover;
        if (remover.remove(place) && moveFolder(replaced.absoluteFilePath(name), place, &error))
            continue;
        m_log.error().noquote() << id.toString() << "is not put back:" << remover.errorString() + error << Qt::endl;
        return false;
    }
    cFolderRemover remover;
    if (remover.remove(replaced.absolutePath()))
        return true;
    m_log.warning().noquote() << remover.errorString() << Qt::endl;
    return false;
}

bool cFolderSweep::remove(const cPluginId& id)
{
    const QString path = Corvane::pluginDir(id).absolutePath();
    const QFileInfo folder(path);
    if (!folder.exists() && !folder.isSymLink())
        return true;
    const cOperation announced(m_manager, IInstallMgr::OPERATION_REMOVE, id);
    cFolderRemover remover;
    if (remover.remove(path))
        return true;
    m_log.warning().noquote() << id.toString() << "is not removed whole:" << remover.errorString() << Qt::endl;
    return false;
}
