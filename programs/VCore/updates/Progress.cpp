#include "updates/Progress.h"

#include "common/System.h"
#include "common/Terminal.h"

#include <Norvale/IConfigMgr.h>

#include <QtCore/QStringList>

#include <cmath>
#include <limits>

namespace {

int percent(qint64 done, qint64 total)
{
    return int(qBound<double>(0, 100.0 * double(done) / double(total), 100));
}

constexpr int Narrowest = 10; // columns of a bar, without its brackets
constexpr int Widest = 40;
constexpr int LeastLabel = 8; // columns that are left to a label

QString shortened(const QString& label, int columns)
{
    return label.size() <= columns ? label : label.left(columns - 2) + QStringLiteral("..");
}

// A line of these parts, without blanks at its end. The last column of a terminal stays free: it would wrap.
QString fitted(const QString& label, const QString& bar, const QStringList& figures, int columns = 0)
{
    QString line = label;
    for (const QString& part : QStringList(bar) + figures) {
        if (!part.isEmpty())
            line += QStringLiteral("  ") + part;
    }
    if (columns <= 0)
        return line;
    line.truncate(qMax(0, columns - 1));
    while (line.endsWith(QLatin1Char(' ')))
        line.chop(1);
    return line;
}

QString nameOf(IInstallMgr::OPERATION operation)
{
    switch (operation) {
    case IInstallMgr::OPERATION_START:
    case IInstallMgr::OPERATION_LOCATION:
        break; // of no plugin
    case IInstallMgr::OPERATION_VERIFY:
        break; // the bar tells it
    case IInstallMgr::OPERATION_EXTRACT:
        return QStringLiteral("unpacking");
    case IInstallMgr::OPERATION_INSTALL:
        return QStringLiteral("setting up");
    case IInstallMgr::OPERATION_UNINSTALL:
        return QStringLiteral("taking down");
    case IInstallMgr::OPERATION_REMOVE:
        return QStringLiteral("removing");
    }
    return QString();
}

} // namespace

void cTransferRate::note(qint64 bytes, qint64 time)
{
    if (!m_samples.isEmpty() && bytes < m_samples.last().bytes)
        clear(); // another transfer
    const bool isClose = m_samples.size() > 1 && time - m_samples.at(m_samples.size() - 2).time < Spacing;
    if (isClose)
        m_samples.last() = {bytes, time};
    else
        m_samples.enqueue({bytes, time});
    while (m_samples.size() > 2 && time - m_samples.at(1).time >= Window)
        m_samples.dequeue();
}

qint64 cTransferRate::bytesPerSecond() const
{
    if (m_samples.isEmpty())
        return 0;
    const qint64 took = m_samples.last().time - m_samples.first().time;
    return took < Shortest ? 0 : (m_samples.last().bytes - m_samples.first().bytes) * 1000 / took;
}

void cProgressLine::update(const QString& label, qint64 done, qint64 total, qint64 time)
{
    if (label != m_label || done < m_done) {
        m_rate.clear();
        m_nextStep = 0;
    }
    m_label = label;
    m_done = done;
    m_total = total;
    m_rate.note(done, time);
}

bool cProgressLine::isWorthShowing() const
{
    constexpr qint64 Smallest = 64 * 1024;
    return qMax(m_done, m_total) >= Smallest;
}

QString cProgressLine::bar(int columns) const
{
    QStringList figures = this->figures();
    QString label = Terminal::printable(m_label);
    if (m_total <= 0)
        return fitted(label, QString(), figures, columns);
    const auto room = [&] { return columns - 1 - fitted(label, QStringLiteral("[]"), figures).size(); };
    while (room() < Narrowest && figures.size() > 1)
        figures.removeLast();
    if (room() < Narrowest)
        label = shortened(label, qMax(LeastLabel, label.size() + room() - Narrowest));
    if (room() < Narrowest)
        return fitted(label, QString(), figures, columns);
    return fitted(label, barText(m_done, m_total, qMin(room(), Widest)), figures, columns);
}

QString cProgressLine::step()
{
    constexpr qint64 FirstUnknown = 1024 * 1024;
    if (m_done < m_nextStep || m_done <= 0)
        return QString();
    if (m_total <= 0) {
        m_nextStep = qMax(FirstUnknown, 2 * m_done);
        return QStringLiteral("%1: %2").arg(m_label, sizes());
    }
    const double tenths = std::floor(10.0 * double(m_done) / double(m_total));
    m_nextStep = tenths < 9 ? qint64(std::ceil(double(m_total) * (tenths + 1) / 10)) : m_total;
    if (isComplete())
        m_nextStep = std::numeric_limits<qint64>::max();
    return QStringLiteral("%1: %2 % of %3").arg(m_label).arg(percent(m_done, m_total)).arg(sizeText(m_total));
}

QString cProgressLine::sizeText(qint64 bytes)
{
    constexpr const char* Units[] = {"B", "kB", "MB", "GB", "TB"};
    double size = double(qMax<qint64>(0, bytes));
    int unit = 0;
    // from 999.5 on a size would be shown as 1000 of its unit
    while (size >= 999.5 && unit < 4) {
        size /= 1000;
        ++unit;
    }
    return QStringLiteral("%1 %2").arg(size, 0, 'f', unit > 0 && size < 99.95 ? 1 : 0).arg(QLatin1String(Units[unit]));
}

QString cProgressLine::barText(qint64 done, qint64 total, int width)
{
    const int filled = total > 0 ? int(double(qBound<qint64>(0, done, total)) / double(total) * width) : 0;
    return QLatin1Char('[') + QString(filled, QLatin1Char('#')) + QString(width - filled, QLatin1Char('-')) +
           QLatin1Char(']');
}

// The most important one first. Each keeps its place also when it is empty, so that the bar keeps its width.
QStringList cProgressLine::figures() const
{
    const qint64 rate = m_rate.bytesPerSecond();
    const QString speed = rate > 0 ? sizeText(rate) + QStringLiteral("/s") : QString();
    QStringList figures;
    if (m_total > 0)
        figures.append(QStringLiteral("%1 %").arg(percent(m_done, m_total), 3));
    return figures << sizes().leftJustified(18) << speed.leftJustified(9) << timeLeft().leftJustified(10);
}

QString cProgressLine::sizes() const
{
    return m_total > 0 ? QStringLiteral("%1 of %2").arg(sizeText(m_done), sizeText(m_total)) : sizeText(m_done);
}

QString cProgressLine::timeLeft() const
{
    const qint64 rate = m_rate.bytesPerSecond();
    if (rate <= 0 || m_total <= m_done)
        return QString();
    const qint64 seconds = (m_total - m_done - 1) / rate + 1;
    const QString minutes = QStringLiteral("%1:%2").arg(seconds / 60 % 60).arg(seconds % 60, 2, 10, QLatin1Char('0'));
    if (seconds < 3600)
        return minutes + QStringLiteral(" left");
    constexpr qint64 Longest = 100 * 3600; // seconds; for more the rate says too little
    return seconds < Longest ? QStringLiteral("%1 h left").arg((seconds + 1800) / 3600) : QString();
}

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
    const int columns = System::terminalColumns();
    if (columns <= 0) {
        const QString step = m_line.step();
        if (!step.isEmpty())
            Terminal::note(step);
    } else if (now - m_drawnAt >= Interval || m_line.isComplete()) {
        m_drawnAt = now;
        Terminal::status(m_line.bar(columns));
    }
}

cInstallReport::cInstallReport(const QString& label, bool isQuiet) : m_label(label), m_isQuiet(isQuiet)
{
    IInstallMgr::connectSlots(this, SLOT(onStart(IInstallMgr::OPERATION, QString, QString)), SLOT(onProgress(int, int)),
                              SLOT(onFinished()));
}

cInstallReport::~cInstallReport()
{
    Terminal::status(QString());
}

void cInstallReport::onStart(IInstallMgr::OPERATION operation, const QString& name, const QString& version)
{
    if (m_isQuiet)
        return;
    if (operation == IInstallMgr::OPERATION_LOCATION)
        Terminal::answer(m_label);
    const QString what = nameOf(operation);
    if (!what.isEmpty()) {
        Terminal::answer(QStringLiteral("  %1 %2 %3").arg(what, -11).arg(name, version));
    }
}

void cInstallReport::onProgress(int current, int total)
{
    const int columns = System::terminalColumns();
    const int width = qBound(Narrowest, columns - 1 - m_label.size() - 4, Widest);
    Terminal::status(fitted(m_label, cProgressLine::barText(current, total, width), {}, columns));
}
