#pragma once

#include "common/cCommand.h"

#include <QtCore/QMap>

/**
 * A program's command line as it describes itself: what its help is made from, and its manual page and completion too,
 * so that none of them knows an option that another lacks.
 */
struct cDescription
{
    /// A name and what it is for.
    struct Entry
    {
        QByteArray name;
        QString help;
    };

    QString program;
    QString version;
    QString summary; // the first line of the help
    QList<Entry> groups;
    QList<cSyntax> commands;
    QList<cSyntax::Parameter> standard; // options that go with every command
    QList<Entry> environment;
    QList<Entry> files;
    QMap<int, QString> exitCodes;

    /// Whether the commands are options ("VCore --list"), not sub-commands ("norvale site add").
    bool hasOptionCommands() const { return commands.first().isOption(); }

    /// All options once: the commands that are such, then what goes with them, then the standard ones. What several
    /// commands have has the help of the first that gives one.
    QList<cSyntax::Parameter> allOptions() const;

    /// The words that may follow @p group ("site", "site keys"; empty at the beginning), groups first, each with its
    /// help. None where it is no group.
    QList<Entry> wordsAfter(const QByteArray& group = QByteArray()) const;

    /// The words that the value of @p parameter is one of; none where it is free.
    static QStringList wordsOf(const cSyntax::Parameter& parameter);

    /// The names of @p parameter, the short one first.
    static QList<QByteArray> namesOf(const cSyntax::Parameter& parameter) { return parameter.names.split(','); }

    /// Whether an option has a value.
    static bool hasValue(const cSyntax::Parameter& parameter);

    /// Whether a value or word is the path of a file or folder, or of a folder.
    static bool isPath(const QByteArray& form);
    static bool isFolder(const QByteArray& form);

    /// The first sentence of @p help, without its full stop.
    static QString firstSentence(const QString& help);
};

/// A page for `man`, in section 1.
QString manualPage(const cDescription& description);

/// The function that completes the program's command line, for each of three shells.
QString bashCompletion(const cDescription& description);
QString zshCompletion(const cDescription& description);
QString fishCompletion(const cDescription& description);

/// Writes all of them below @p folder: man/NAME.1, bash/NAME, zsh/_NAME and fish/NAME.fish. @return false, with
/// @p error, when that fails.
[[nodiscard]] bool writePages(const cDescription& description, const QString& folder, QString* error);
