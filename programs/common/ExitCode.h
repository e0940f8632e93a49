#pragma once

#include <QtCore/QString>

/// How a program ends. The numbers are part of its interface: scripts tell the ends apart by them, so none is ever
/// reused. VCore and norvale count for themselves; their meanings stand in ExitCode.cpp.
enum class ExitCode {
    // both
    Ok = 0,
    Usage = 2,

    // VCore
    InitialiseFailed = 3,
    StartFailed = 4,
    NoCore = 5,
    HostRunning = 6,
    NoHost = 7,
    CallFailed = 8,
    Timeout = 9,
    Restart = 10,
    SocketFailed = 11,
    Fatal = 12,
    HardStop = 13,
    FileFailed = 14,
    ConnectionLost = 15,
    LoopEnded = 16,
    NoUpdate = 17,
    Cancelled = 18,
    FetchFailed = 19,
    CoreTooOld = 20,
    FeatureMissing = 21,
    CheckFailed = 22,
    NewCore = 23,
    InstallIncomplete = 24,
    NothingToInstall = 25,
    UninstallIncomplete = 26,
    UpdateRunning = 27,
    SettingsFailed = 28,

    // norvale
    Faults = 1,
    ReadFailed = 3,
    WriteFailed = 4,
    Unreachable = 5,
    NoGraphviz = 6,
    Busy = 7
};

/// The exit codes of this program with their meanings, a line each, as the help text shows them.
QString exitCodeTable();

/// Prints @p reason on standard error. @return @p code: `return endWith(ExitCode::Usage, ...)` is how a command fails.
[[nodiscard]] ExitCode endWith(ExitCode code, const QString& reason);
