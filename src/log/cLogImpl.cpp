#include "log/cLogImpl.h"

#include "disk/WriteSettings.h"
#include "log/LineText.h"
#include "version/Shown.h"

#include <QtCore/QSettings>
#include <QtCore/QVariant>

namespace {

QString settingsKey(const QString& channel)
{
    return QStringLiteral("Log/%1/enabled").arg(channel);
}

/// Stores the switch when the library is unloaded. It is made after the settings have been read, so that the statics
/// which they need are destroyed after it.
struct StoreAtUnload
{
    const cLogImpl& channel;
    ~StoreAtUnload()
    {
        const QString error = cLogImpl::storeSwitches({&channel});
        if (!error.isEmpty())
            writeDebuggerLine(error);
    }
};

} // namespace

cLogImpl::cLogImpl(const QString& name, SwitchReading reading)
    : m_name(name)
    , m_shownName(shown(name))
    , m_utf8Name(m_shownName.toUtf8())
    , m_ownLine(new cLogLine)
    , m_line(m_ownLine.get())
    , m_reading(reading)
{
    if (m_reading == ReadNow)
        readSwitch();
}

cLogImpl::~cLogImpl()
{
    storeSwitches({this});
}

cLogImpl& cLogImpl::system()
{
    // Never destroyed: other static objects may log until the very end.
    static cLogImpl* const channel = new cLogImpl(QStringLiteral("!"), ReadAtFirstUse);
    return *channel;
}

void cLogImpl::setEnabled(bool isEnabled)
{
    readSwitchAtFirstUse();
    m_isEnabled.store(isEnabled, std::memory_order_relaxed);
}

QString cLogImpl::storeSwitches(const QVector<const cLogImpl*>& channels)
{
    SettingsChanges changes;
    for (const cLogImpl* channel : channels)
        changes.insert(settingsKey(channel->m_name), channel->isEnabled());
    QSettings settings;
    QString error;
    if (writeSettings(settings, changes, &error))
        return QString();
    // What would be read all the same is not lost.
    for (auto it = changes.begin(); it != changes.end(); ++it) {
        if (settings.value(it.key(), true).toBool() != it->toBool())
            return QStringLiteral("The switches of the log channels are not kept: ") + error;
    }
    return QString();
}

cLogLine& cLogImpl::lockLine()
{
    readSwitchAtFirstUse();
    for (;;) {
        cLogLine& current = line();
        current.lock();
        if (&current == &line())
            return current;
        current.unlock(); // assigned to another place while this thread waited
    }
}

void cLogImpl::assign(const cLogImpl& other)
{
    m_isEnabled.store(other.isEnabled(), std::memory_order_relaxed);
    m_name = other.m_name;
    m_shownName = other.m_shownName;
    m_utf8Name = other.m_utf8Name;
    m_isShown = other.m_isShown;
    m_line.store(other.m_line.load(std::memory_order_acquire), std::memory_order_release);
}

void cLogImpl::readSwitch()
{
    m_isEnabled.store(QSettings().value(settingsKey(m_name), true).toBool(), std::memory_order_relaxed);
}

void cLogImpl::readSwitchAtFirstUse()
{
    if (m_reading == ReadNow)
        return;
    std::call_once(m_firstUse, [this] {
        readSwitch();
        static const StoreAtUnload store{*this};
    });
}
