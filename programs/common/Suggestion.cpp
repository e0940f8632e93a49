#include "common/Suggestion.h"

#include "common/pages/cDescription.h"

#include <algorithm>
#include <numeric>
#include <utility>
#include <vector>

namespace {

/// How many letters are to be added, left out or replaced.
int distance(const QString& from, const QString& to)
{
    std::vector<int> row(size_t(to.size()) + 1);
    std::iota(row.begin(), row.end(), 0);
    for (int i = 0; i < from.size(); ++i) {
        int diagonal = std::exchange(row[0], i + 1);
        for (int j = 0; j < to.size(); ++j) {
            const int replaced = diagonal + (from.at(i) == to.at(j) ? 0 : 1);
            diagonal = row[size_t(j) + 1];
            row[size_t(j) + 1] = std::min({replaced, diagonal + 1, row[size_t(j)] + 1});
        }
    }
    return row.back();
}

QString withoutDashes(QString name)
{
    while (name.startsWith(QLatin1Char('-')))
        name.remove(0, 1);
    return name.toLower();
}

QStringList namesIn(const QList<cDescription::Entry>& entries)
{
    QStringList names;
    for (const cDescription::Entry& entry : entries)
        names.append(QString::fromUtf8(entry.name));
    return names;
}

QString unknownCommand(const QStringList& words, const cDescription& description)
{
    QStringList known = namesIn(description.firstWords());
    QString before;
    for (const QString& word : words + QStringList(QString())) {
        if (word.isEmpty())
            return QStringLiteral("a command is missing: %1 %2{%3}")
                .arg(description.program, before, known.join(QLatin1Char('|')));
        if (!known.contains(word))
            return QStringLiteral("there is no command \"%1\"%2").arg(before + word, suggestionFor(word, known));
        known = namesIn(description.secondWords(word.toUtf8()));
        if (!before.isEmpty() || known.isEmpty())
            return QString();
        before = word + QLatin1Char(' ');
    }
    return QString();
}

QString unknownOption(const QStringList& arguments, const QByteArray& command, const cDescription& description)
{
    QStringList known;
    QList<cSyntax::Parameter> options = description.standard;
    for (const cSyntax& syntax : description.commands) {
        if (command.isEmpty() || syntax.name == command)
            options += syntax.parameters;
    }
    for (const cSyntax::Parameter& option : qAsConst(options)) {
        for (const QByteArray& name : cDescription::namesOf(option)) {
            if (option.isOption())
                known.append(QString::fromUtf8(name));
        }
    }
    for (const QString& argument : arguments.mid(1)) {
        const QString name = argument.section(QLatin1Char('='), 0, 0);
        if (name == QLatin1String("--"))
            break;
        if (name.startsWith(QLatin1String("--")) && !known.contains(name))
            return QStringLiteral("%1 is no option%2").arg(name, suggestionFor(name, known));
    }
    return QString();
}

} // namespace

QString suggestionFor(const QString& word, const QStringList& known)
{
    const QString typed = withoutDashes(word);
    QString nearest;
    int least = 1 + qMin(2, typed.size() / 3); // letters from which on it is another word
    for (const QString& name : known) {
        const QString other = withoutDashes(name);
        const bool isBegin = typed.size() > 2 && other.startsWith(typed);
        const int apart = isBegin ? 1 : distance(typed, other);
        if (apart < least && apart < other.size()) {
            least = apart;
            nearest = name;
        }
    }
    return nearest.isEmpty() ? QString() : QStringLiteral("; did you mean %1?").arg(nearest);
}

QString unknownIn(const QStringList& arguments, const cDescription& description)
{
    QStringList words;
    for (int i = 1; i < arguments.size(); ++i) {
        const bool isColor = arguments.at(i - 1) == QLatin1String("--color"); // the only value that stands before
        if (!arguments.at(i).startsWith(QLatin1Char('-')) && !isColor)
            words.append(arguments.at(i));
    }
    if (description.hasOptionCommands())
        return unknownOption(arguments, QByteArray(), description);
    const QString unknown = unknownCommand(words, description);
    if (!unknown.isEmpty())
        return unknown;
    const QByteArray first = words.first().toUtf8();
    const bool isGroup = !description.secondWords(first).isEmpty();
    return unknownOption(arguments, isGroup ? first + ' ' + words.at(1).toUtf8() : first, description);
}
