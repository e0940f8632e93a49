#include "common/HostSettings.h"

#include "disk/WriteSettings.h"

#include <QtCore/QLockFile>
#include <QtCore/QSettings>

bool HostSettings::changeList(const QString& key, const QString& lockFile,
                              const std::function<void(QStringList&)>& change, QString* error)
{
    constexpr int Patience = 10000; // milliseconds
    QLockFile lock(lockFile);
    if (!lock.tryLock(Patience)) {
        *error = QStringLiteral("the settings are not changed: the lock %1 cannot be had").arg(lockFile);
        return false;
    }
    QSettings store;
    const QStringList before = store.value(key).toStringList();
    QStringList after = before;
    change(after);
    if (after == before)
        return true;
    return writeSettings(store, {{key, after.isEmpty() ? QVariant() : QVariant(after)}}, error);
}
