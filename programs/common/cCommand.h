#pragma once

#include "common/ExitCode.h"

#include <QtCore/QByteArray>
#include <QtCore/QList>
#include <QtCore/QStringList>

#include <variant>

/**
 * What a command is called, and the options and words that go with it. What the command line gives is read into the
 * variables that are named here; what it does not give keeps its value.
 *
 * A command is called by an option of its own ("--list", or "--send JSON"), or it is a sub-command ("pack", or "site
 * add" in the group "site", or deeper). All commands of a program are of one kind.
 */
struct cSyntax
{
    using Target = std::variant<bool*, QString*, QStringList*>;

    /// One option or word, and where its value goes.
    struct Parameter
    {
        QByteArray names; // "--feature" or "-o,--output"; of words what the help calls them
        Target target;
        const char* help;
        const char* form; // what the help calls the value of an option

        bool isOption() const { return names.startsWith('-'); }

        /// The last of the names, by which it is found.
        QByteArray key() const { return names.mid(names.lastIndexOf(',') + 1); }
    };

    QByteArray name;
    const char* help = "";
    const char* footer = ""; // what the help of a sub-command says below its options
    int leastWords = 0;      // this and the next for commands that are options
    int mostWords = 0;
    QList<Parameter> parameters; // all options and words, the command's own option among them

    /// Names the command. One that is an option may take a value, which the help calls @p form.
    void call(const char* newName, const char* newHelp, Target target = static_cast<bool*>(nullptr),
              const char* form = "")
    {
        name = newName;
        help = newHelp;
        if (isOption())
            add(newName, target, newHelp, form);
    }

    /**
     * Adds an option when @p names begin with a dash, else words. An option is a flag for a bool; else it has a value,
     * which the help calls @p form, and may repeat for a list. A text is one word that must be there, a list all
     * others. What a text holds is the default of its option; it stays null when there is neither.
     */
    void add(const char* names, Target target, const char* newHelp, const char* form = "")
    {
        parameters.append({names, target, newHelp, form});
    }

    bool isOption() const { return name.startsWith('-'); }
};

/// Something that a program does. A new command is a class of its own, and is added where its program adds the others.
class cCommand
{
public:
    virtual ~cCommand() = default;

    /// Says what the command is called and what goes with it.
    virtual void describe(cSyntax& syntax) = 0;

    /// Does it, once the command line has been read.
    virtual ExitCode run() = 0;
};
