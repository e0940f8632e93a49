#pragma once

#include <QtCore/QLockFile>
#include <QtCore/QString>

#include <memory>

/// A lock file that one process holds at a time. That of a process that is gone is taken over, whatever its age, and an
/// empty one that a killed process has left after a few seconds; while its holder lives it is never touched.
class cHostLock
{
public:
    enum Outcome {
        Taken, ///< it is ours until release()
        Held,  ///< another process that lives holds it
        Failed ///< the file cannot be made
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
