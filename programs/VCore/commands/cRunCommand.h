#pragma once

#include "commands/cCommand.h"

/// Starts the suite, serves it until it is asked to stop, and stops it. What the program does when nothing else is
/// asked.
class cRunCommand : public cCommand
{
public:
    QCommandLineOption option() const override;
    QStringList understands() const override;
    ExitCode run(const QCommandLineParser& line) override;
};
