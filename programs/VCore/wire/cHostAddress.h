#pragma once

#include <QtCore/QLockFile>
#include <QtCore/QString>

#include <memory>

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

    /// The address of the host of the installation that the machine's settings name.
    static cHostAddress ofThisInstallation();

    /// False when there is no folder that only the user can enter; errorString() tells why.
    bool isValid() const { return m_error.isEmpty(); }

    /// Why the address is not valid.
    QString errorString() const { return m_error; }

    /// The installation folder that the address is of.
    QString installFolder() const { return m_installFolder; }

    /// Name for QLocalServer and QLocalSocket.
    QString socketName() const { return m_socketName; }

    /// Absolute path of the lock file of the host.
    QString lockPath() const { return m_lockPath; }

    /// Absolute path of the lock file of whoever fetches or installs updates.
    QString updateLockPath() const { return m_updateLockPath; }

private:
    QString m_installFolder;
    QString m_socketName;
    QString m_lockPath;
    QString m_updateLockPath;
    QString m_error;
};

/// A lock file that one process holds at a time. That of a process that is gone is taken over, whatever its age, and an
/// empty one that a killed process has left after a few seconds; while its holder lives it is never touched.
class cHostLock
{
public:
    enum Outcome {
        Taken, // it is ours until release()
        Held,  // another process that lives holds it
        Failed // the file cannot be made
    };

    /// Takes the lock at @p path (absolute), without waiting.
    [[nodiscard]] Outcome take(const QString& path);

    /// Gives it back; so does the destructor.
    void release() { m_file.reset(); }

    /// Why take() did not give Taken; names the holder.
    QString errorString() const { return m_error; }

private:
    std::unique_ptr<QLockFile> m_file;
    QString m_error;
};
