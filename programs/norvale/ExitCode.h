#pragma once

#include <QtCore/QString>

/// How the program ends. The numbers are part of its interface: scripts tell the ends apart by them, so none is ever
/// reused.
enum class ExitCode {
    Ok = 0,
    Faults = 1,
    Usage = 2,
    ReadFailed = 3,
    WriteFailed = 4,
    Unreachable = 5,
    NoGraphviz = 6,
    Busy = 7
};

/// The exit codes with their meaning, a line each, as the help text shows them.
QString exitCodeTable();
