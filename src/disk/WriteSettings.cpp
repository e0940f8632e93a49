#include "disk/WriteSettings.h"

#include "disk/IniText.h"
#include "disk/WholeFiles.h"

#include <QtCore/QDateTime>
#include <QtCore/QFileInfo>
#include <QtCore/QLockFile>

#include <cerrno>

namespace {

using Values = QMap<QString, QVariant>;

bool isBelow(const QString& key, const QString& group)
{
    return key.size() > group.size() && key.startsWith(group) && key.at(group.size()) == QLatin1Char('/');
}

Values valuesIn(const QSettings& store)
{
    Values values;
    for (const QString& key : store.allKeys())
        values.insert(key, store.value(key));
    return values;
}

Values changed(Values values, const SettingsChanges& changes)
{
    for (auto change = changes.begin(); change != changes.end(); ++change) {
        if (change->isValid())
            continue;
        for (const QString& key : values.keys()) {
            if (key == change.key() || isBelow(key, change.key()))
                values.remove(key);
        }
    }
    for (auto change = changes.begin(); change != changes.end(); ++change) {
        if (change->isValid())
            values.insert(change.key(), change.value());
    }
    return values;
}

bool areSame(const Values& values, const Values& others)
{
    if (values.keys() != others.keys())
        return false;
    for (auto it = values.begin(); it != values.end(); ++it) {
        if (IniText::valueOf(*it) != IniText::valueOf(others.value(it.key())))
            return false;
    }
    return true;
}

QString causeOf(const QSettings& store)
{
    switch (store.status()) {
    case QSettings::NoError:
        return QString();
    case QSettings::AccessError:
        return QStringLiteral("access is denied");
    case QSettings::FormatError:
        break;
    }
    return QStringLiteral("what stands there are no settings");
}

QString causeOf(const QLockFile& lock, const QString& path)
{
    switch (lock.error()) {
    case QLockFile::LockFailedError:
        return QStringLiteral("another process holds its lock");
    case QLockFile::PermissionError:
        return causeOfSystem(path);
    default: // it was made; where it is gone again, the system's reason is that of something later
        return errno == ENOENT ? QStringLiteral("its lock cannot be written") : causeOfSystem(path);
    }
}

const QLatin1String NotAsWritten("it does not read as it was written");

/// QSettings does without reading a file again whose size and time are those that it knows.
void makeNewer(QFileDevice& file, const QFileInfo& old)
{
    constexpr int Apart = 10; // milliseconds
    const QDateTime oldest = old.lastModified().addMSecs(Apart);
    if (QDateTime::currentDateTime() < oldest)
        file.setFileTime(oldest, QFileDevice::FileModificationTime);
}

/// Replaces the file at a path while it holds certain bytes.
class cSettingsFile
{
public:
    enum Result { Done, ChangedMeanwhile, Failed };

    explicit cSettingsFile(const QSettings& store)
        : m_path(store.fileName()), m_isUsersOwn(store.scope() == QSettings::UserScope)
    {
    }

    const QString& path() const { return m_path; }
    QString cause() const { return m_cause; }

    bool read(QByteArray& bytes) { return isAbsent(m_path) || readFile(m_path, bytes, &m_cause); }

    Result replace(const QByteArray& old, const QByteArray& bytes)
    {
        cReplacement file(m_path);
        m_cause = file.write(bytes);
        if (!m_cause.isEmpty())
            return Failed;
        if (isAbsent(m_path)) {
            QFileDevice::Permissions permissions = QFileDevice::ReadOwner | QFileDevice::WriteOwner;
            if (!m_isUsersOwn)
                permissions |= QFileDevice::ReadGroup | QFileDevice::ReadOther;
            file.file().setPermissions(permissions);
        }
        // The lock that QSettings takes to write, too. Nothing is asked of QSettings meanwhile: it might wait for it.
        QLockFile lock(m_path + QLatin1String(".lock"));
        errno = 0;
        if (!lock.tryLock(Patience)) {
            m_cause = causeOf(lock, m_path);
            return Failed;
        }
        QByteArray now;
        if (!read(now))
            return Failed;
        if (now != old)
            return ChangedMeanwhile;
        makeNewer(file.file(), QFileInfo(m_path));
        m_cause = file.commit();
        return m_cause.isEmpty() ? Done : Failed;
    }

private:
    // A lock whose owner was killed before it wrote who it is counts as held for half a minute.
    static constexpr int Patience = 40000; // milliseconds

    QString m_path;
    bool m_isUsersOwn;
    QString m_cause;
};

/// @return why it failed; empty when it did not.
QString writeToFile(const QSettings& store, const SettingsChanges& changes)
{
    constexpr int Tries = 10;
    cSettingsFile file(store);
    for (int tries = 0; tries < Tries; ++tries) {
        QByteArray old;
        if (!file.read(old))
            return file.cause();
        // Of this file alone: a store shows also what stands behind it for other applications.
        QSettings settings(file.path(), QSettings::IniFormat);
        const Values before = valuesIn(settings);
        if (settings.status() != QSettings::NoError) // known once all has been read
            return causeOf(settings);
        const Values wanted = changed(before, changes);
        if (areSame(before, wanted))
            return QString();
        const QByteArray text = IniText::fileOf(wanted);
        const cSettingsFile::Result result = file.replace(old, text);
        if (result == cSettingsFile::Failed)
            return file.cause();
        if (result == cSettingsFile::ChangedMeanwhile)
            continue;
        settings.sync();
        if (areSame(valuesIn(settings), wanted) && settings.status() == QSettings::NoError)
            return QString();
        QByteArray now;
        if (!file.read(now))
            return file.cause();
        if (now != text) // by others, since: whether they have kept the changes is looked at again
            continue;
        (void)file.replace(text, old);
        return NotAsWritten;
    }
    return QStringLiteral("others change it all the time");
}

QString writeByStore(QSettings& store, const SettingsChanges& changes)
{
    const auto make = [&store](const SettingsChanges& values) {
        for (auto it = values.begin(); it != values.end(); ++it) {
            if (!it->isValid())
                store.remove(it.key());
        }
        for (auto it = values.begin(); it != values.end(); ++it) {
            if (it->isValid())
                store.setValue(it.key(), *it);
        }
        store.sync();
        return causeOf(store);
    };
    const bool hadFallbacks = store.fallbacksEnabled();
    store.setFallbacksEnabled(false);
    const Values before = valuesIn(store);
    const Values wanted = changed(before, changes);
    QString cause;
    if (!areSame(before, wanted))
        cause = make(changes);
    if (cause.isEmpty() && !areSame(valuesIn(store), wanted))
        cause = NotAsWritten;
    if (!cause.isEmpty()) {
        SettingsChanges back;
        for (auto it = wanted.begin(); it != wanted.end(); ++it)
            back.insert(it.key(), before.value(it.key()));
        for (auto it = before.begin(); it != before.end(); ++it)
            back.insert(it.key(), *it);
        make(back);
    }
    store.setFallbacksEnabled(hadFallbacks);
    return cause;
}

} // namespace

bool writeSettings(QSettings& store, const SettingsChanges& changes, QString* error)
{
    const QString cause = keepsItsFile(store) ? writeToFile(store, changes) : writeByStore(store, changes);
    if (!cause.isEmpty() && error)
        *error = QStringLiteral("the settings in %1 cannot be written: %2").arg(store.fileName(), cause);
    return cause.isEmpty();
}
