#include "new/cProject.h"

#include "disk/WholeFiles.h"

#include <QtCore/QDir>
#include <QtCore/QDirIterator>
#include <QtCore/QFileInfo>
#include <QtCore/QTemporaryDir>

namespace {

const QDir::Filters Everything = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;

/// Moves all that is in one folder into another; where that fails, back again.
bool moveEntries(const QDir& from, const QDir& to, QString* error)
{
    QStringList moved;
    for (const QString& name : from.entryList(Everything)) {
        if (!QDir().rename(from.filePath(name), to.filePath(name))) {
            *error = QStringLiteral("%1 cannot be made: %2").arg(to.filePath(name), qt_error_string());
            for (const QString& done : qAsConst(moved))
                QDir().rename(to.filePath(done), from.filePath(done));
            return false;
        }
        moved.append(name);
    }
    return true;
}

} // namespace

void cProject::add(const QString& folder)
{
    const QDir set(QStringLiteral(":/new/") + folder);
    for (QDirIterator it(set.path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories); it.hasNext();) {
        QFile file(it.next());
        if (file.open(QIODevice::ReadOnly)) // what is compiled in can be
            m_files.insert(set.relativeFilePath(file.fileName()).replace(m_word, m_name),
                           file.readAll().replace(m_word.toUtf8(), m_name.toUtf8()));
    }
}

// Written beside and moved, so that there is all of it or nothing. What is moved is the first folder that is not there
// yet.
bool cProject::write(const QString& folder, QString* error) const
{
    QString there = QDir::cleanPath(QFileInfo(folder).absoluteFilePath());
    const QString whole = there;
    while (!QFileInfo(there).isDir()) {
        if (!isAbsent(there)) {
            *error = QStringLiteral("%1 is no folder").arg(there);
            return false;
        }
        there = QFileInfo(there).path();
    }
    QTemporaryDir aside(QDir(there).filePath(QStringLiteral(".norvale-XXXXXX")));
    if (!aside.isValid()) {
        *error = QStringLiteral("nothing can be written into %1: %2").arg(there, aside.errorString());
        return false;
    }
    return writeAside(aside.filePath(QDir(there).relativeFilePath(whole)), error) &&
           moveEntries(aside.path(), there, error);
}

bool cProject::writeAside(const QString& folder, QString* error) const
{
    for (auto file = m_files.begin(); file != m_files.end(); ++file) {
        if (!replaceFile(QDir(folder).filePath(file.key()), file.value(), error))
            return false;
    }
    return true;
}
