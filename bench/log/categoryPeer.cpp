#include "LogScenario.h"

#include <QtCore/QDateTime>
#include <QtCore/QDebug>
#include <QtCore/QFile>
#include <QtCore/QLoggingCategory>
#include <QtCore/QMutex>
#include <QtCore/QThread>

#include <memory>

namespace {

Q_LOGGING_CATEGORY(bench, "bench", QtInfoMsg)

QMutex mutex;
std::unique_ptr<QFile> file;

/// The line is made outside of the lock, which is the best that such a handler can do.
void writeToFile(QtMsgType, const QMessageLogContext& context, const QString& message)
{
    const QByteArray line =
        QStringLiteral("%1-%2(%3):%4 \n")
            .arg(QDateTime::currentDateTime().toString(Qt::TextDate), QLatin1String(context.category),
                 QString::number(quintptr(QThread::currentThreadId()), 16), message)
            .toUtf8();
    const QMutexLocker locker(&mutex);
    file->write(line);
}

void openFile(const QString& path)
{
    file = std::make_unique<QFile>(path);
    if (!file->open(QIODevice::WriteOnly | QIODevice::Append | QIODevice::Text))
        qFatal("cannot write %s", qPrintable(path));
    qInstallMessageHandler(writeToFile);
}

void writeOneItem()
{
    qCInfo(bench) << LogItems::started;
}

void writeSevenItems(int number)
{
    qCInfo(bench) << LogItems::started << number << LogItems::milliseconds << LogItems::plugin() << true
                  << LogItems::bytes << LogItems::took;
}

void closeFile()
{
    qInstallMessageHandler(nullptr);
    file.reset();
}

} // namespace

const LogPeer& categoryPeer()
{
    static const LogPeer peer{"category", openFile, writeOneItem, writeSevenItems, closeFile};
    return peer;
}
