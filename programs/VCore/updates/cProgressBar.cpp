#include "updates/cProgressBar.h"

#include "terminal/Terminal.h"

#include <Norvale/IConfigMgr.h>

cProgressBar::cProgressBar()
{
    m_clock.start();
    IConfigMgr::connectProgressSlot(this, SLOT(onProgress(QString, qint64, qint64)));
}

cProgressBar::~cProgressBar()
{
    Terminal::status(QString());
}

void cProgressBar::onProgress(const QString& label, qint64 done, qint64 total)
{
    constexpr qint64 Interval = 100; // milliseconds; more often nobody sees
    const qint64 now = m_clock.elapsed();
    m_line.update(label, done, total, now);
    if (!m_line.isWorthShowing())
        return;
    const int columns = Terminal::columns();
    if (columns <= 0) {
        const QString step = m_line.step();
        if (!step.isEmpty())
            Terminal::reason(step);
    } else if (now - m_drawnAt >= Interval || m_line.isComplete()) {
        m_drawnAt = now;
        Terminal::status(m_line.bar(columns));
    }
}
