#pragma once

#include "ExitCode.h"

#include <QtCore/QCommandLineParser>

#include <memory>
#include <vector>

class cCommand;

/// The command line of the program: knows the commands, picks the one that is asked for, and refuses what does not fit
/// it.
class cCommandLine
{
public:
    cCommandLine();
    ~cCommandLine();

    /// Does what @p arguments ask for; the first of them is the program.
    ExitCode run(const QStringList& arguments);

private:
    cCommand* picked(QString* complaint) const;
    QString complaintAbout(const cCommand& command) const;
    QString helpText() const;

    std::vector<std::unique_ptr<cCommand>> m_commands; ///< the first is the one that nothing picks
    QCommandLineParser m_parser;
};
