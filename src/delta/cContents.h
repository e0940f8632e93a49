#pragma once

#include <QtCore/QString>

#include <atomic>

class cOldFiles;
class cPatchReader;

/// The contents of a package's parts, one after the other, made as they are asked for from the old files and the
/// instructions of a patch.
class cContents
{
public:
    /// @param patch stands at its first instruction
    /// @param size bytes of all contents
    /// @param isCancelled ends read() when it becomes true
    cContents(cPatchReader& patch, cOldFiles& old, qint64 size, const std::atomic<bool>& isCancelled)
        : m_patch(patch), m_old(old), m_left(size), m_isCancelled(isCancelled)
    {
    }

    /// The next @p count bytes, of which so many are left. @return false when that fails; errorString() tells.
    [[nodiscard]] bool read(char* to, qint64 count);

    const QString& errorString() const { return m_errorString; }

private:
    bool readInstruction();
    bool add(char* to, qint64 count);
    bool copy(char* to, qint64 count);
    bool damaged(const char* how);
    bool fail(const QString& reason);

    cPatchReader& m_patch;
    cOldFiles& m_old;
    qint64 m_left; // to be made, with what the instruction at hand makes
    const std::atomic<bool>& m_isCancelled;
    qint64 m_toAdd = 0; // what is left of the instruction at hand
    qint64 m_toCopy = 0;
    qint64 m_skip = 0;
    qint64 m_place = 0;     // in the old files
    bool m_isEmpty = false; // the instruction at hand makes nothing
    QString m_errorString;
};
