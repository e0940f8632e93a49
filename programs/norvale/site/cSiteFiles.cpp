#include "site/cSiteFiles.h"

#include "core/Files.h"

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>
#include <QtCore/QJsonObject>
#include <QtCore/QLockFile>

#include <algorithm>

cSiteFiles::cSiteFiles() = default;

cSiteFiles::~cSiteFiles()
{
    if (!m_isKept)
        undo();
    m_lock.reset(); // its file lies in a folder that may have been made here
    for (int i = m_isKept ? -1 : m_madeFolders.size() - 1; i >= 0; --i)
        QDir().rmdir(m_madeFolders.at(i));
}

ExitCode cSiteFiles::begin(const QString& site)
{
    m_site = QDir::cleanPath(site);
    m_folder = QDir(site).absolutePath();
    if (!makeFolder(m_folder))
        return ExitCode::WriteFailed;
    // Two runs at once would each keep what stood there, and the later one lose what the other has added.
    m_lock = std::make_unique<QLockFile>(QDir(m_folder).filePath(QStringLiteral(".norvale.lock")));
    // A living owner's file is locked by the system too, however old it is. A dead one may have left it without or with
    // half a name.
    m_lock->setStaleLockTime(1000);
    if (m_lock->tryLock(2000))
        return ExitCode::Ok;
    const bool isHeld = m_lock->error() == QLockFile::LockFailedError;
    m_errorString = isHeld ? QStringLiteral("%1 is being changed by another run").arg(site)
                           : QStringLiteral("%1 cannot be written").arg(site);
    return isHeld ? ExitCode::Busy : ExitCode::WriteFailed;
}

bool cSiteFiles::makeFolder(const QString& path)
{
    QStringList missing;
    QString folder = path;
    while (!QFileInfo::exists(folder) && QFileInfo(folder).path() != folder) {
        missing.prepend(folder);
        folder = QFileInfo(folder).path();
    }
    m_madeFolders += missing;
    if (QDir().mkpath(path))
        return true;
    m_errorString = QStringLiteral("the folder %1 cannot be made").arg(path);
    return false;
}

bool cSiteFiles::write(const QString& path, const QByteArray& bytes)
{
    File file{path, State::New, QByteArray()};
    if (!isAbsent(path)) {
        QFile old(path);
        const bool isRead = old.open(QIODevice::ReadOnly);
        file.before = isRead ? old.readAll() : QByteArray();
        file.state = isRead && file.before == bytes ? State::AlreadyThere : State::Changed;
    }
    const bool isWritten = file.state == State::AlreadyThere ||
                           (makeFolder(QFileInfo(path).path()) && replaceFile(path, bytes, &m_errorString));
    if (file.state == State::AlreadyThere)
        file.before.clear();
    const bool isKnown = std::any_of(m_files.begin(), m_files.end(), [&](const File& f) { return f.path == path; });
    if (isWritten && !isKnown) // what is written twice is taken back once
        m_files.append(file);
    return isWritten;
}

bool cSiteFiles::isChanged() const
{
    return std::any_of(m_files.begin(), m_files.end(),
                       [](const File& file) { return file.state != State::AlreadyThere; });
}

void cSiteFiles::remove(const QString& path, const QString& top)
{
    if (isAbsent(path) || !QFile::remove(path))
        return;
    m_files.append({path, State::Removed, QByteArray()});
    for (QString folder = QFileInfo(path).path(); folder != top && removeEmptyFolder(folder);)
        folder = QFileInfo(folder).path();
}

void cSiteFiles::sweep(const QString& folder, const QString& pattern)
{
    const QDir dir(folder);
    for (const QString& name : dir.entryList({pattern + QStringLiteral(".??????")}, QDir::Files | QDir::Hidden))
        QFile::remove(dir.filePath(name));
}

// Where a file cannot be put back, what was written before it has to stay: that file may name it.
void cSiteFiles::undo()
{
    for (int i = m_files.size() - 1; i >= 0; --i) {
        const File& file = m_files.at(i);
        if (file.state == State::New)
            QFile::remove(file.path);
        else if (file.state == State::Changed && !replaceFile(file.path, file.before, nullptr))
            break;
    }
    m_files.clear();
}

QString cSiteFiles::word(State state)
{
    switch (state) {
    case State::New:
        return QStringLiteral("new");
    case State::Changed:
        return QStringLiteral("changed");
    case State::AlreadyThere:
        return QStringLiteral("already there");
    case State::Removed:
        break;
    }
    return QStringLiteral("removed");
}

QString cSiteFiles::shown(const QString& path) const
{
    return QDir::cleanPath(m_site + QLatin1Char('/') + QDir(m_folder).relativeFilePath(path));
}

QStringList cSiteFiles::lines() const
{
    QStringList lines;
    for (const File& file : m_files)
        lines.append(QStringLiteral("%1: %2").arg(word(file.state), shown(file.path)));
    return lines;
}

QJsonArray cSiteFiles::json() const
{
    QJsonArray list;
    for (const File& file : m_files)
        list.append(QJsonObject{{"path", shown(file.path)}, {"state", word(file.state)}});
    return list;
}
