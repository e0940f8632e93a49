#include "updates/cProgressLine.h"

#include "terminal/Terminal.h"

#include <QtCore/QStringList>

#include <cmath>
#include <limits>

namespace {

int percent(qint64 done, qint64 total)
{
    return int(qBound<double>(0, 100.0 * double(done) / double(total), 100));
}

} // namespace

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
    constexpr int Narrowest = 10;
    constexpr int Widest = 40;
    const QString label = Terminal::printable(m_label);
    const QString text = figures();
    const int room = columns - 1 - label.size() - text.size() - 6; // brackets and blanks; the last column would wrap
    QString line = m_total <= 0 || room < Narrowest
                       ? QStringLiteral("%1  %2").arg(label, text)
                       : QStringLiteral("%1  %2  %3").arg(label, barText(m_done, m_total, qMin(room, Widest)), text);
    line.truncate(qMax(0, columns - 1));
    while (line.endsWith(QLatin1Char(' ')))
        line.chop(1);
    return line;
}

QString cProgressLine::step()
{
    constexpr qint64 FirstUnknown = 1024 * 1024;
    if (m_done < m_nextStep || m_done <= 0)
        return QString();
    if (m_total <= 0) {
        m_nextStep = qMax(FirstUnknown, 2 * m_done);
        return QStringLiteral("%1: %2").arg(Terminal::printable(m_label), sizes());
    }
    const double tenths = std::floor(10.0 * double(m_done) / double(m_total));
    m_nextStep = tenths < 9 ? qint64(std::ceil(double(m_total) * (tenths + 1) / 10)) : m_total;
    if (isComplete())
        m_nextStep = std::numeric_limits<qint64>::max();
    return QStringLiteral("%1: %2 % of %3")
        .arg(Terminal::printable(m_label))
        .arg(percent(m_done, m_total))
        .arg(sizeText(m_total));
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

// Each figure has its place, whether it is there or not, so that the bar keeps its width.
QString cProgressLine::figures() const
{
    const qint64 rate = m_rate.bytesPerSecond();
    const QString share = m_total > 0 ? QStringLiteral("%1 %  ").arg(percent(m_done, m_total), 3) : QString();
    const QString speed = rate > 0 ? sizeText(rate) + QStringLiteral("/s") : QString();
    return share + QStringLiteral("%1  %2  %3").arg(sizes(), -18).arg(speed, -9).arg(timeLeft(), -10);
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
    constexpr qint64 Longest = 100 * 3600; // beyond, the rate is no promise
    return seconds < Longest ? QStringLiteral("%1 h left").arg((seconds + 1800) / 3600) : QString();
}
