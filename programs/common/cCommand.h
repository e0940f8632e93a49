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
 * add" in the group "site"). All commands of a program are of one kind.
 */
class cSyntax
{
public:
    /// One option or word, and where its value goes.
    struct Parameter
    {
        QByteArray names; // "--feature" or "-o,--output"; of words what the help calls them
        const char* form; // what the help calls the value
        const char* help;
        std::variant<bool*, QString*, QStringList*> target;

        bool isOption() const { return names.startsWith('-'); }

        /// The last of the names, by which it is found.
        QByteArray key() const { return names.mid(names.lastIndexOf(',') + 1); }
    };

    /// Names a sub-command, or a command whose option has no value.
    void setName(const char* name, const char* help);

    /// Names a command whose option has a value.
    void setName(const char* name, QString* target, const char* form, const char* help);

    /// What the help of a sub-command says below its options.
    void setFooter(const char* text) { m_footer = text; }

    void addFlag(const char* names, bool* target, const char* help);

    /// An option with a value. What @p target holds is the default; without one it stays null when it is not given.
    void addOption(const char* names, QString* target, const char* form, const char* help);

    /// An option with a value that may be given several times.
    void addOption(const char* names, QStringList* target, const char* form, const char* help);

    /// A word that must be there; for sub-commands.
    void addWord(const char* name, QString* target, const char* help);

    /// The other words. Where commands are options, all that follows the first word is a word, whatever it looks like,
    /// and there must be @p least of them at least and @p most at most.
    void addWords(const char* name, QStringList* target, const char* help, int least = 0, int most = 1000);

    QByteArray name() const { return m_name; }
    const char* help() const { return m_help; }
    const char* footer() const { return m_footer; }
    int leastWords() const { return m_leastWords; }
    int mostWords() const { return m_mostWords; }
    bool isOption() const { return m_name.startsWith('-'); }

    /// All options and words; the first of a command that is an option is this option.
    const QList<Parameter>& parameters() const { return m_parameters; }

    /// Whether an option with the key @p key goes with the command.
    bool hasOption(const QByteArray& key) const;

private:
    QByteArray m_name;
    const char* m_help = "";
    const char* m_footer = "";
    int m_leastWords = 0;
    int m_mostWords = 0;
    QList<Parameter> m_parameters;
};

/// Something that a program does. A new command is a class of its own, and a line in its program's main().
class cCommand
{
public:
    virtual ~cCommand() = default;

    /// Says what the command is called and what goes with it.
    virtual void describe(cSyntax& syntax) = 0;

    /// Does it, once the command line has been read.
    virtual ExitCode run() = 0;
};
