#pragma once

#include <Norvale/cJsonValue.h>
#include <Norvale/cLog.h>
#include <QtCore/QObject>
#include <QtCore/QStringList>

/**
 * The service "Settings": texts by key, kept in one JSON file.
 *
 * Each change is on disk before the call returns, and is told as the event "Changed" (key, value) of the event set
 * "SettingsEvents"; a key that was removed is told with an empty value.
 */
class cSettings : public QObject
{
    Q_OBJECT
    Q_CLASSINFO("service", "Settings")

public:
    /// Works on the file @p path, which need not exist yet.
    cSettings(const QString& path, const cLog& log);

    /// Reads the file. One that cannot be understood is set aside as "*.broken", so that nothing of it is lost.
    /// False when that fails: saving would then destroy what somebody may still want.
    bool load();

    /// The value of @p key, or @p fallback. A number or structure that was put into the file by hand comes as JSON.
    Q_INVOKABLE QString value(const QString& key, const QString& fallback = QString()) const;

    /// Stores a value. False when the key is not made of letters, digits and "/._-%~", or the file cannot be written.
    Q_INVOKABLE bool setValue(const QString& key, const QString& value);

    /// Removes a value; false when it was not there or the file cannot be written.
    Q_INVOKABLE bool remove(const QString& key);

    /// All keys in ascending order.
    Q_INVOKABLE QStringList keys() const;

private:
    bool replaceValues(const cJsonValue& values);

    QString m_path;
    cLog m_log;
    cJsonValue m_values;
};
