#pragma once

#include "updates/cProgressLine.h"

#include <QtCore/QElapsedTimer>
#include <QtCore/QObject>

/// Shows the progress of downloads: one bar where standard error is a terminal, a line now and then where it is not.
/// While it lives; the bar goes away with it.
class cProgressBar : public QObject
{
    Q_OBJECT

public:
    /// Connects itself to the configuration manager.
    cProgressBar();
    ~cProgressBar() override;

public slots:
    void onProgress(const QString& label, qint64 done, qint64 total);

private:
    cProgressLine m_line;
    QElapsedTimer m_clock;
    qint64 m_drawnAt = 0; ///< milliseconds of m_clock
};
