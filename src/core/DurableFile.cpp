#include "core/DurableFile.h"

#include <QtCore/QByteArray>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>
#include <QtCore/QSaveFile>
#include <QtCore/QString>

namespace {

bool putInPlace(QSaveFile& file)
{
    waitUntilReplaceable(file.fileName());
    return file.commit();
}

} // namespace

bool replaceFile(const QString& path, const QByteArray& bytes, QString* error)
{
    const QString folder = QFileInfo(path).absolutePath();
    QString cause;
    if (!QDir().mkpath(folder)) {
        cause = QStringLiteral("the folder %1 cannot be made").arg(folder);
    } else {
        QSaveFile file(path); // removes what it wrote when it is not committed
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
            cause = file.errorString();
        else if (!flushFile(file)) // it would flush by itself, and go on when that fails
            cause = QStringLiteral("it cannot be flushed to the disk");
        else if (!putInPlace(file))
            cause = file.errorString();
    }
    if (!cause.isEmpty()) {
        if (error)
            *error = QStringLiteral("%1 cannot be written: %2").arg(path, cause);
        return false;
    }
    flushFolder(folder); // the file is in place all the same when the folder cannot be flushed
    return true;
}
