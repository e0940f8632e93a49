#pragma once

#include "guard/cGuardSlot.h"

#include <QtCore/QFile>
#include <QtCore/QString>

#include <optional>

/**
 * The file that holds the slot, mapped into the memory of the process that guards.
 *
 * That process has a lock of the system on it, which ends with the process, however that ends: so two processes never
 * write it, and none takes the slot of a living one for that of a run that has ended. A file that is damaged or of
 * another form is begun anew.
 */
class cGuardFile
{
public:
    cGuardFile() = default;
    ~cGuardFile() { close(); }
    cGuardFile(const cGuardFile&) = delete;
    cGuardFile& operator=(const cGuardFile&) = delete;

    /// The file of the suite at @p coreFolder in @p dataFolder, both absolute paths.
    static QString pathFor(const QString& dataFolder, const QString& coreFolder);

    /// Makes the file if it is absent, locks and maps it. @return the slot as the last process left it; null when that
    /// failed, see errorString(). It is valid until close().
    cGuardSlot* open(const QString& path);

    /// Gives up the slot and the lock.
    void close();

    /// Why open() answered null; names the file.
    const QString& errorString() const { return m_errorString; }

    /// A copy of the slot in the file at @p path; none when there is none, it is damaged, or a process is guarding.
    static std::optional<cGuardSlot> peek(const QString& path);

    /// Whether the slot was written since the machine was started last.
    static bool isOfThisBoot(const cGuardSlot& slot);

    /// Writes into the slot which start of the machine this is.
    static void setBoot(cGuardSlot& slot);

private:
    cGuardSlot* slot() const;
    cGuardSlot* fail(const QString& cause);
    bool lockSoon();
    bool mapSound();
    bool renew();
    void unmap();

    /// Locks the open @p file for this process, as each system does it: cGuardFile_unix.cpp and cGuardFile_win.cpp.
    /// @return false when another one has it.
    static bool tryLock(const QFile& file);

    QFile m_file;
    uchar* m_memory = nullptr;
    QString m_errorString;
};
