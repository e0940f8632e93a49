#include "lint/InputFile.h"

#include "report/cFindings.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

#include <limits>

bool readInputFile(const QString& path, QByteArray* bytes, cFindings& findings)
{
    const QFileInfo info(path);
    QFile file(path);
    QString cause;
    if (!info.exists())
        cause = QStringLiteral("there is no such file");
    else if (!info.isFile())
        cause = QStringLiteral("this is no file");
    else if (info.size() > std::numeric_limits<qint32>::max() / 2 * qint64(2))
        cause = QStringLiteral("files above 2 GiB are not read");
    else if (!file.open(QIODevice::ReadOnly))
        cause = file.errorString();
    if (!cause.isEmpty())
        return findings.add(Rule::FileUnreadable, path, cause), false;
    *bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return findings.add(Rule::FileUnreadable, path, file.errorString()), false;
    return true;
}
