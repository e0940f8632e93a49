#pragma once

#include <QtCore/QByteArray>

/**
 * The text of the time, made once a second.
 *
 * The form of the log file has no smaller unit, and making it costs many times what writing the line does: the system
 * is asked for the zone, and day and month are named in its language. A changed clock is seen at once, a changed zone
 * with the next second. Not thread-safe.
 */
class cTimeText
{
public:
    /// Local time in the form of `Qt::TextDate`, in UTF-8.
    /// @param milliseconds since the start of 1970, UTC.
    const QByteArray& at(qint64 milliseconds);

private:
    QByteArray m_text;
    qint64 m_second = 0; ///< Of m_text, once that is not empty.
};
