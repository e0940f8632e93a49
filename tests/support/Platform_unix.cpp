#include "Platform.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QFile>

const Platform::Traits Platform::Here{".so", "\n", true, true};

bool Platform::isAborted(const QProcess& process)
{
    return process.exitStatus() == QProcess::CrashExit;
}

void Platform::start(QProcess& process, const QString& program, const QStringList& arguments)
{
    process.start(program, arguments);
}

void Platform::startAgain(QProcess& process, const QStringList& arguments)
{
    process.start(QCoreApplication::applicationFilePath(), arguments);
}

// One that has ended, and that nobody has asked after, has no command line any more.
bool Platform::isRunning(qint64 process)
{
    QFile line(QStringLiteral("/proc/%1/cmdline").arg(process));
    return line.open(QFile::ReadOnly) && !line.readAll().isEmpty();
}

void Platform::loadFaults() {}

void Platform::startInterruptible(QProcess& process, const QString& program, const QStringList& arguments)
{
    process.start(program, arguments);
}

void Platform::interrupt(QProcess& process)
{
    process.terminate();
}

bool Platform::startOnTerminal(QProcess& process, const QString& program, const QStringList& arguments)
{
    const QString command = (QStringList(program) + arguments).join(QLatin1Char(' '));
    process.start(QStringLiteral("script"), {QStringLiteral("-qec"), command, QStringLiteral("/dev/null")});
    return process.waitForStarted();
}

QString Platform::drawnText(QByteArray bytes)
{
    return QString::fromUtf8(bytes);
}

bool Platform::link(const QString& target, const QString& path)
{
    return QFile::link(target, path);
}

class Platform::DebuggerLines::Listener
{
};

Platform::DebuggerLines::DebuggerLines() = default;
Platform::DebuggerLines::~DebuggerLines() = default;

QByteArray Platform::DebuggerLines::take(QProcess& child)
{
    return child.readAllStandardError();
}
