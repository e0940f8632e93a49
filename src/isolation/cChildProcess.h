#pragma once

#include <QtCore/QProcess>

#include <functional>

/**
 * A child process that is handed the end of a connection, and that the system ends with this process, however that
 * ends. Started in the main thread only.
 */
class cChildProcess : public QProcess
{
public:
    /// The environment variable that tells the child its end, as a number.
    static constexpr char EndVariable[] = "NORVALE_PLUGIN_CONNECTION";

    cChildProcess();
    ~cChildProcess() override;

    /// Starts @p program with @p end, which stays the caller's. @return false with the reason in errorString().
    bool startWith(qintptr end, const QString& program, const QStringList& arguments);

    /// How a process that is no longer there has ended: "SIGSEGV", "exit code 3", "EXCEPTION_ACCESS_VIOLATION".
    QString causeOfEnd() const;

private:
#if QT_VERSION < QT_VERSION_CHECK(6, 0, 0)
    void setupChildProcess() override
    {
        prepareChild();
    }
    void setChildProcessModifier(const std::function<void()>&) {}
#endif
    void prepareChild();
    void tieToThisProcess();

    qintptr m_end = -1;
    [[maybe_unused]] void* m_job = nullptr; // on Windows
};
