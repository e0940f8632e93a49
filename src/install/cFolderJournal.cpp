#include "install/cFolderJournal.h"

#include "core/Files.h"
#include "version/SafeName.h"

#include <Norvale/Corvane.h>

#include <QtCore/QDir>
#include <QtCore/QFile>
#include <QtCore/QFileInfo>

cFolderJournal::cFolderJournal()
    : m_path(
          QDir(Corvane::velmiraFolderOrFile(Corvane::PluginsFolder)).absoluteFilePath(QStringLiteral("unfinished.txt")))
{
}

bool cFolderJournal::exists() const
{
    return QFile::exists(m_path);
}

bool cFolderJournal::note(const QStringList& identities)
{
    QStringList all = this->identities() + identities;
    all.removeDuplicates();
    return replaceFile(m_path, all.join(QLatin1Char('\n')).toUtf8() + '\n', &m_errorString);
}

QStringList cFolderJournal::identities() const
{
    QStringList identities;
    const QString text = QString::fromUtf8(Corvane::FileReadAll(m_path, nullptr));
    for (const QString& line : text.split(QLatin1Char('\n'))) {
        // Nobody is to have a folder removed that is not one of a plugin.
        if (isSafeFileName(line) && line.contains(QLatin1Char('-')))
            identities.append(line);
    }
    return identities;
}

bool cFolderJournal::remove()
{
    const QFileInfo journal(m_path);
    QDir folder = journal.dir();
    // What a run that was killed had written beside a file and not yet renamed over it.
    const QString suffix = QStringLiteral(".??????");
    const QFileInfo features(Corvane::velmiraFolderOrFile(Corvane::FeaturesFile));
    for (const QString& name :
         folder.entryList({journal.fileName() + suffix, features.fileName() + suffix}, QDir::Files))
        folder.remove(name);
    QFile file(m_path);
    if (!file.exists() || file.remove())
        return true;
    m_errorString = QStringLiteral("%1 cannot be removed: %2").arg(m_path, file.errorString());
    return false;
}
