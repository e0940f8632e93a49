#pragma once

#include "ExitCode.h"

#include <QtCore/QString>
#include <QtCore/QStringList>

#include <string>
#include <vector>

namespace CLI {
class App;
}

/**
 * Something that the program does: a sub-command with its own options. A new command is a class of its own and a line
 * in cProgram's constructor.
 */
class cCommand
{
public:
    virtual ~cCommand() = default;

    /// Adds the sub-command to @p parent, with options that are read into this object. @return the sub-command.
    virtual CLI::App* addTo(CLI::App& parent) = 0;

    /// Does it. The command line has been read.
    virtual ExitCode run() = 0;

protected:
    static QString text(const std::string& word) { return QString::fromStdString(word); }
    static QStringList texts(const std::vector<std::string>& words)
    {
        QStringList list;
        for (const std::string& word : words)
            list.append(text(word));
        return list;
    }
};
