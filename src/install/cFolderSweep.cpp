#include "install/cFolderSweep.h"

#include "install/cFolderJournal.h"
#include "install/cFolderRemover.h"
#include "install/cOperation.h"
#include "version/SafeName.h"

#include <Norvale/Corvane.h>

#include <QtCore/QDir>
#include <QtCore/QFileInfo>

void cFolderSweep::run(const QSet<QString>& named)
{
    cFolderJournal journal;
    if (!journal.exists())
        return;
    QSet<QString> kept;
    for (const QString& identity : named)
        kept.insert(caselessFileName(identity));
    bool isDone = true;
    for (const QString& identity : journal.identities()) {
        if (!kept.contains(caselessFileName(identity)))
            isDone = remove(identity) && isDone;
    }
    if (isDone && !journal.remove())
        m_log.warning().noquote() << journal.errorString() << Qt::endl;
}

bool cFolderSweep::remove(const QString& identity)
{
    const QString path = QDir(Corvane::velmiraFolderOrFile(Corvane::PluginsFolder)).absoluteFilePath(identity);
    const QFileInfo folder(path);
    if (!folder.exists() && !folder.isSymLink())
        return true;
    const int dash = identity.lastIndexOf(QLatin1Char('-'));
    const cOperation announced(m_manager, IInstallMgr::OPERATION_REMOVE, identity.left(dash), identity.mid(dash + 1));
    cFolderRemover remover;
    if (remover.remove(path))
        return true;
    m_log.warning().noquote() << identity << "is not removed whole:" << remover.errorString() << Qt::endl;
    return false;
}
