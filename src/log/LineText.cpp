#include "log/LineText.h"

#include <QtCore/QDateTime>

namespace LineText {

QString message(const QByteArray& text)
{
    return QString::fromLatin1(text.constData());
}

QString forDebugger(Qt::HANDLE threadId, const QString& channel, const QString& message)
{
    return QLatin1Char('T') + QString::number(quintptr(threadId)) + QLatin1Char(':') + channel + QLatin1Char(':') +
           message;
}

QByteArray forFile(const QDateTime& time, const QString& channel, Qt::HANDLE threadId, const QString& message)
{
    const QString line = time.toString(Qt::TextDate) + QLatin1Char('-') + channel + QLatin1Char('(') +
                         QString::number(quintptr(threadId), 16) + QLatin1String("):") + message;
    return line.toUtf8();
}

} // namespace LineText
