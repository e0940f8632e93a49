#include "MovedState.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QDir>
#include <QtCore/QSettings>

#include <windows.h>

// A process can have the roots of the registry lead elsewhere, for itself; where its local data lies stands below one.

namespace {

const wchar_t* wide(const QString& text)
{
    return reinterpret_cast<const wchar_t*>(text.utf16());
}

/// Below HKEY_CURRENT_USER.
QString keyOf(const QString& folder)
{
    const QByteArray name =
        QCryptographicHash::hash(QDir::cleanPath(folder).toLower().toUtf8(), QCryptographicHash::Sha1);
    return QStringLiteral("Software\\NorvaleTestsMoved\\") + QString::fromLatin1(name.toHex());
}

HKEY open(const QString& key)
{
    HKEY handle = nullptr;
    if (RegCreateKeyExW(HKEY_CURRENT_USER, wide(key), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &handle, nullptr) != 0)
        qFatal("the key %s cannot be made", qPrintable(key));
    return handle;
}

void copy(const QString& from, const QString& to)
{
    RegDeleteTreeW(HKEY_CURRENT_USER, wide(to));
    const HKEY target = open(to);
    if (RegCopyTreeW(HKEY_CURRENT_USER, wide(from), target) != 0)
        qFatal("the key %s cannot be copied", qPrintable(from));
    RegCloseKey(target);
}

} // namespace

void MovedState::addTo(QProcessEnvironment& environment, const QString&)
{
    environment.insert(QStringLiteral("FILE_FAULTS_REGISTRY"), QStringLiteral("1"));
}

void MovedState::enter(const QString& folder)
{
    const HKEY machine = open(keyOf(folder) + QStringLiteral("\\machine"));
    const HKEY user = open(keyOf(folder) + QStringLiteral("\\user"));
    const QString data = QDir::toNativeSeparators(folder + QStringLiteral("/data"));
    HKEY folders = nullptr;
    RegCreateKeyExW(user, L"Software\\Microsoft\\Windows\\CurrentVersion\\Explorer\\User Shell Folders", 0, nullptr, 0,
                    KEY_ALL_ACCESS, nullptr, &folders, nullptr);
    // Only once, as it would count among the changes.
    DWORD size = 0;
    if (RegQueryValueExW(folders, L"Local AppData", nullptr, nullptr, nullptr, &size) != 0)
        RegSetValueExW(folders, L"Local AppData", 0, REG_SZ, reinterpret_cast<const BYTE*>(data.utf16()),
                       DWORD(data.size() + 1) * sizeof(wchar_t));
    RegCloseKey(folders);
    if (RegOverridePredefKey(HKEY_LOCAL_MACHINE, machine) != 0 || RegOverridePredefKey(HKEY_CURRENT_USER, user) != 0)
        qFatal("the registry cannot be moved");
}

QByteArray MovedState::machineSettings(const QString& folder)
{
    const QSettings settings(
        QStringLiteral("HKEY_CURRENT_USER\\%1\\machine\\Software\\Varkel\\Pelmora").arg(keyOf(folder)),
        QSettings::NativeFormat);
    QByteArray text;
    for (const QString& key : settings.allKeys())
        text += key.toUtf8() + '=' + settings.value(key).toString().toUtf8() + '\n';
    return text;
}

void MovedState::save(const QString& folder)
{
    copy(keyOf(folder), keyOf(folder) + QStringLiteral(".saved"));
}

void MovedState::restore(const QString& folder)
{
    copy(keyOf(folder) + QStringLiteral(".saved"), keyOf(folder));
}

void MovedState::remove(const QString& folder)
{
    for (const char* state : {"", ".saved"})
        RegDeleteTreeW(HKEY_CURRENT_USER, wide(keyOf(folder) + QLatin1String(state)));
}
