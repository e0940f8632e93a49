#pragma once

#include "updates/cTransferRate.h"

#include <QtCore/QString>

/// What one line says of a transfer: a bar, size, rate and the time that is left.
class cProgressLine
{
public:
    /// Takes in that @p done bytes of @p total (0 or less: nobody knows) have arrived at @p time (milliseconds).
    void update(const QString& label, qint64 done, qint64 total, qint64 time);

    /// False for what is so small that it is there before anybody has read of it.
    bool isWorthShowing() const;

    bool isComplete() const { return m_total > 0 && m_done >= m_total; }

    /// The line for a terminal of so many columns; what does not fit is left out, from the end.
    QString bar(int columns) const;

    /**
     * The line for where nothing can be drawn over: something at each tenth of the whole, and where the whole is not
     * known, at each doubling. Empty when it is not yet time for the next one.
     */
    QString step();

    /// Bytes as people read them: "812 B", "9.4 kB", "1.2 MB".
    static QString sizeText(qint64 bytes);

    /// A bar of @p width characters between brackets, of which @p done of @p total are filled.
    static QString barText(qint64 done, qint64 total, int width);

private:
    QString figures() const;
    QString sizes() const;
    QString timeLeft() const;

    QString m_label;
    qint64 m_done = 0;
    qint64 m_total = 0;
    qint64 m_nextStep = 0; ///< bytes that the next step() waits for
    cTransferRate m_rate;
};
