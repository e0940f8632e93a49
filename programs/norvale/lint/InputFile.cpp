#include "lint/InputFile.h"

#include "report/cFindings.h"

#include <QtCore/QFile>
#include <QtCore/QFileInfo>

bool readInputFile(const QString& path, qint64 limit, QByteArray* bytes, cFindings& findings)
{
    const QFileInfo info(path);
    QFile file(path);
    QString cause;
    if (!info.exists())
        cause = QStringLiteral("there is no such file");
    else if (!info.isFile())
        cause = QStringLiteral("this is no file");
    else if (info.size() > limit)
        cause = QStringLiteral("more than %1 bytes are not read").arg(limit);
    else if (!file.open(QIODevice::ReadOnly))
        cause = file.errorString();
    if (!cause.isEmpty())
        return findings.add(Rule::FileUnreadable, path, cause), false;
    *bytes = file.readAll();
    if (file.error() != QFileDevice::NoError)
        return findings.add(Rule::FileUnreadable, path, file.errorString()), false;
    return true;
}
