#include "lint/VersionText.h"

#include <QtCore/QRegularExpression>

bool isVersionText(const QString& text)
{
    static const QRegularExpression form(QStringLiteral("\\A([0-9]+)\\.(?:([0-9]+)(?:\\.([0-9]+))?)?\\z"));
    const QRegularExpressionMatch match = form.match(text);
    bool isNumber = match.hasMatch();
    for (int part = 1; isNumber && part <= match.lastCapturedIndex(); ++part)
        match.captured(part).toInt(&isNumber); // greater ones come back negative
    return isNumber;
}

QString versionComplaint(const QString& text)
{
    if (text.isEmpty())
        return QStringLiteral("there is no version");
    return QStringLiteral("\"%1\" is no version of the form MAJOR.MINOR.BUILD").arg(text);
}
