#include "log/cTimeText.h"

#include <QtCore/QDateTime>

const QByteArray& cTimeText::at(qint64 milliseconds)
{
    const qint64 second = milliseconds / 1000 - (milliseconds % 1000 < 0 ? 1 : 0);
    if (second != m_second || m_text.isEmpty()) {
        m_second = second;
        m_text = QDateTime::fromMSecsSinceEpoch(milliseconds).toString(Qt::TextDate).toUtf8();
    }
    return m_text;
}
