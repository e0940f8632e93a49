#pragma once

#include <QtCore/QString>

/**
 * Where the host of one installation is reached by its user: the local socket and the lock that its owner holds.
 *
 * Both names are made from the installation folder, so that hosts of two installations run side by side. They lie in a
 * folder that only the user can enter (`$XDG_RUNTIME_DIR`, else a folder of the user below the temporary one); where
 * socket names share one space on the machine, as on Windows, the user's home is part of the name.
 */
class cHostAddress
{
public:
    /// The address of the host of @p installFolder (absolute). Makes the folder of socket and lock when it is absent.
    static cHostAddress ofInstallation(const QString& installFolder);

    /// False when no folder is to be had that the user alone can enter; then errorString() tells why.
    bool isValid() const { return m_error.isEmpty(); }

    /// Why the address is not valid.
    QString errorString() const { return m_error; }

    /// Name for QLocalServer and QLocalSocket.
    QString socketName() const { return m_socketName; }

    /// Absolute path of the lock file of the host.
    QString lockPath() const { return m_lockPath; }

    /// Absolute path of the lock file of whoever fetches or installs updates.
    QString updateLockPath() const { return m_updateLockPath; }

private:
    // Platform-bound: cHostAddress_unix.cpp and cHostAddress_win.cpp.
    static QString userFolder(QString* error);
    static QString nameFor(const QString& folder, const QString& baseName);
    static QString userPart();
    static QString comparable(const QString& path);

    QString m_socketName;
    QString m_lockPath;
    QString m_updateLockPath;
    QString m_error;
};
