#include <Norvale/cLogCentral.h>

#include "log/cFrameworkLog.h"
#include "log/cLogCentralData.h"
#include "log/cLogImpl.h"
#include "version/ForeignCode.h"
#include "version/cCodeImage.h"

#include <QtCore/QCoreApplication>
#include <QtCore/QMutexLocker>

namespace {

/// Tells why switches are not kept, if they are not; no lock is held.
void tell(const QString& error)
{
    if (!error.isEmpty())
        cFrameworkLog::library().warning().noquote() << error << Qt::endl;
}

QString switchTo(cLogImpl& channel, bool isEnabled)
{
    channel.setEnabled(isEnabled);
    return cLogImpl::storeSwitches({&channel});
}

void switchLog(cLogCentralData& central, const QString& name, bool isEnabled)
{
    QMutexLocker locker(&central.lock);
    QString error;
    if (cLogImpl* channel = central.channels.value(name)) {
        error = switchTo(*channel, isEnabled);
    } else {
        cLogImpl temporary(name);
        error = switchTo(temporary, isEnabled);
    }
    locker.unlock();
    tell(error);
}

/// Flushes the log file when the library is unloaded, which the central itself outlives.
struct FlushAtUnload
{
    cLogCentralData& central;
    ~FlushAtUnload() { central.flushAtUnload(); }
};

} // namespace

cLogCentral::cLogCentral() : d(new cLogCentralData)
{
    qRegisterMetaType<debugType>("debugType");
    qRegisterMetaType<Qt::HANDLE>("Qt::HANDLE");
}

cLogCentral::~cLogCentral()
{
    delete d;
}

bool cLogCentral::initialize()
{
    return instance() != nullptr;
}

cLogCentral* cLogCentral::instance()
{
    // Never destroyed: other static objects may log until the very end.
    static cLogCentral* const central = new cLogCentral;
    return central;
}

cLog cLogCentral::log(const QString& name)
{
    cLogCentralData& central = *instance()->d;
    const QMutexLocker locker(&central.lock);
    if (name.isEmpty())
        return cLog();
    if (cLogImpl* const channel = central.channels.value(name))
        return cLog(*channel);
    const QString owned(name.constData(), name.size()); // a literal goes with the library that it lies in
    return cLog(**central.channels.insert(owned, new cLogImpl(owned)));
}

cLog cFrameworkLog::take(const QString& name)
{
    const cLog log = cLogCentral::log(name);
    cLogCentralData& central = *cLogCentral::instance()->d;
    const QMutexLocker locker(&central.lock);
    central.channels.value(name)->setShown();
    return log;
}

bool cFrameworkLog::isHeard()
{
    cLogCentralData& central = *cLogCentral::instance()->d;
    const QMutexLocker locker(&central.lock);
    return central.isHeard();
}

void cFrameworkLog::writeOut()
{
    cLogCentralData& central = *cLogCentral::instance()->d;
    const QMutexLocker locker(&central.lock);
    central.writeOut();
}

cLog cLogCentral::sysLog()
{
    instance();
    return cLog();
}

void cLogCentral::enableLog(const QString& name)
{
    switchLog(*instance()->d, name, true);
}

void cLogCentral::disableLog(const QString& name)
{
    switchLog(*instance()->d, name, false);
}

void cLogCentral::saveLogSettings()
{
    cLogCentralData& central = *instance()->d;
    QMutexLocker locker(&central.lock);
    QVector<const cLogImpl*> channels;
    for (const cLogImpl* channel : qAsConst(central.channels))
        channels.append(channel);
    const QString error = cLogImpl::storeSwitches(channels);
    locker.unlock();
    tell(error);
}

void cLogCentral::setLogFile(const QString& path)
{
    cLogCentralData& central = *instance()->d;
    QMutexLocker locker(&central.lock);
    if (!path.isEmpty() && central.isFileOpen(path))
        return;
    central.closeFile();
    if (path.isEmpty())
        return;
    static const FlushAtUnload flush{central};
    if (central.openFile(path))
        return;
    locker.unlock(); // a message handler of the host may log
    qFatal("Failed to open log file %s", path.toLatin1().constData());
}

void cLogCentral::setDebuggerOutput(bool isOn)
{
    cLogCentralData& central = *instance()->d;
    const QMutexLocker locker(&central.lock);
    central.isDebuggerOutputOn = isOn;
}

void cLogCentral::setHooksOnly(bool isOn)
{
    cLogCentralData& central = *instance()->d;
    const QMutexLocker locker(&central.lock);
    central.isHooksOnly = isOn;
}

void cLogCentral::addHook(QObject* object, const char* method)
{
    if (!object || !method)
        return;
    cLogCentralData& central = *instance()->d;
    const QMutexLocker locker(&central.lock);
    if (central.hooks.contains(object)) {
        central.hooks.replace(object, method);
        return;
    }
    central.hooks.set(object, method, QObject::connect(object, &QObject::destroyed, [object] { removeHook(object); }));
    if (!cStartJournal::isOpen())
        return;
    cStartJournal::note(cCodeImage::codeOf(object), [&central, object] {
        const QMutexLocker undoing(&central.lock);
        if (!central.hooks.contains(object))
            return QString();
        central.hooks.remove(object);
        QCoreApplication::removePostedEvents(object, QEvent::MetaCall);
        return QStringLiteral("a log hook");
    });
}

void cLogCentral::removeHook(QObject* object)
{
    cLogCentralData& central = *instance()->d;
    central.lockedUnlessHeld([&] { central.hooks.remove(object); });
}

QList<cLogEntry> cLogCentral::history()
{
    cLogCentralData& central = *instance()->d;
    const QMutexLocker locker(&central.lock);
    return central.history;
}

void cLogCentral::setLineOutput(void (*show)(const cLogEntry& line))
{
    cLogCentralData& central = *instance()->d;
    const QMutexLocker locker(&central.lock);
    central.lineOutput = show;
}
