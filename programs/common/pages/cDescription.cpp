#include "common/pages/cDescription.h"

#include "disk/WholeFiles.h"

#include <QtCore/QSet>

QList<cSyntax::Parameter> cDescription::allOptions() const
{
    QList<cSyntax::Parameter> own, further;
    QMap<QByteArray, int> places; // in the second list
    for (const cSyntax& command : commands) {
        for (const cSyntax::Parameter& parameter : command.parameters) {
            if (!parameter.isOption())
                continue;
            if (parameter.key() == command.name) {
                own.append(parameter);
            } else if (!places.contains(parameter.key())) {
                places.insert(parameter.key(), further.size());
                further.append(parameter);
            } else if (further.at(places.value(parameter.key())).help[0] == '\0') {
                further[places.value(parameter.key())] = parameter;
            }
        }
    }
    return own + further + standard;
}

QList<cDescription::Entry> cDescription::wordsAfter(const QByteArray& group) const
{
    const QByteArray before = group.isEmpty() ? group : group + ' ';
    QList<Entry> words;
    const auto take = [&](const QByteArray& name, const QString& help) {
        if (name.startsWith(before) && !name.mid(before.size()).contains(' '))
            words.append({name.mid(before.size()), help});
    };
    for (const Entry& entry : groups)
        take(entry.name, entry.help);
    for (const cSyntax& command : commands)
        take(command.name, QString::fromUtf8(command.help));
    return words;
}

QStringList cDescription::wordsOf(const cSyntax::Parameter& parameter)
{
    const QString form = QString::fromUtf8(parameter.form);
    return form.contains(QLatin1Char('|')) ? form.split(QLatin1Char('|')) : QStringList();
}

bool cDescription::hasValue(const cSyntax::Parameter& parameter)
{
    return !std::holds_alternative<bool*>(parameter.target);
}

bool cDescription::isPath(const QByteArray& form)
{
    return form.contains("FILE") || form.contains("PATH") || form.contains("PACKAGE") || isFolder(form);
}

bool cDescription::isFolder(const QByteArray& form)
{
    return form.contains("FOLDER") || form.contains("DIR") || form.contains("SITE");
}

QString cDescription::firstSentence(const QString& help)
{
    const int end = help.indexOf(QLatin1String(". "));
    QString sentence = end < 0 ? help : help.left(end);
    if (sentence.endsWith(QLatin1Char('.')))
        sentence.chop(1);
    return sentence;
}

bool writePages(const cDescription& description, const QString& folder, QString* error)
{
    const QString name = description.program;
    const auto write = [&](const QString& path, const QString& text) {
        return replaceFile(folder + QLatin1Char('/') + path, text.toUtf8(), error);
    };
    return write(QStringLiteral("man/%1.1").arg(name), manualPage(description)) &&
           write(QStringLiteral("bash/%1").arg(name), bashCompletion(description)) &&
           write(QStringLiteral("zsh/_%1").arg(name), zshCompletion(description)) &&
           write(QStringLiteral("fish/%1.fish").arg(name), fishCompletion(description));
}
