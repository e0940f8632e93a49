#pragma once

#include <QtCore/QString>

/**
 * What every peer does: write lines of one and of seven items to a file, each as
 * `<time>-bench(<thread id>):<text> `, the time in the form of `Qt::TextDate`.
 *
 * A peer is a set of functions, so that all are driven by the same loop. open() is called before the threads start and
 * close() after they have ended, outside of what is timed.
 */
struct LogPeer
{
    const char* name;
    void (*open)(const QString& path);
    void (*writeOneItem)();
    void (*writeSevenItems)(int number);
    void (*close)();
};

/// The values of the seven items: two texts, a whole number, a real one, a string, a truth and a large number.
namespace LogItems {

inline const char* const started = "plugin started";
inline const char* const took = "took";
inline constexpr double milliseconds = 12.5;
inline constexpr qint64 bytes = 123456789012;

inline const QString& plugin()
{
    static const QString name = QStringLiteral("ZentraSettings");
    return name;
}

} // namespace LogItems

const LogPeer& norvalePeer();
const LogPeer& categoryPeer();
const LogPeer& spdlogPeer();
