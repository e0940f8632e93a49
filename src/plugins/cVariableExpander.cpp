#include "plugins/cVariableExpander.h"

#include "plugins/cPluginInstance.h"

#include <QtCore/QDir>

QString cVariableExpander::expand(QString text)
{
    m_maxLength = qint64(text.size()) + MaxGrowth;
    for (int pass = 0; pass < MaxPasses && expandOnce(text); ++pass) {
    }
    return text;
}

bool cVariableExpander::expandOnce(QString& text)
{
    bool isChanged =
        replaceAll(text, QStringLiteral("$(PluginDir)"), [&] { return QDir::toNativeSeparators(m_plugin.folder()); });
    isChanged = replaceAll(text, QStringLiteral("$(PluginName)"), [&] { return m_plugin.name(); }) || isChanged;
    isChanged = replaceAll(text, QStringLiteral("$(PluginVersion)"), [&] { return m_plugin.version().toString(); }) ||
                isChanged;
    return replaceEnvironment(text) || isChanged;
}

/// @p value is called only when there is something to replace.
template <typename Value>
bool cVariableExpander::replaceAll(QString& text, const QString& variable, Value value) const
{
    const int count = text.count(variable);
    if (count == 0)
        return false;
    const QString replacement = value();
    if (replacement == variable || !hasRoomFor(text, qint64(count) * (replacement.size() - variable.size())))
        return false;
    text.replace(variable, replacement);
    return true;
}

// Only the first "$(env." is looked at: a malformed one shields those behind it.
bool cVariableExpander::replaceEnvironment(QString& text)
{
    const QString opening = QStringLiteral("$(env.");
    const int begin = text.indexOf(opening);
    if (begin < 0)
        return false;
    const int nameBegin = begin + opening.size();
    const int end = text.indexOf(QLatin1Char(')'), nameBegin);
    if (end <= nameBegin)
        return false;
    const QString value = environmentValue(text.mid(nameBegin, end - nameBegin));
    const int length = end + 1 - begin;
    if (!hasRoomFor(text, qint64(value.size()) - length))
        return false;
    text.replace(begin, length, value);
    return true;
}

QString cVariableExpander::environmentValue(const QString& name)
{
    if (!m_isEnvironmentFetched) {
        m_environment = QProcessEnvironment::systemEnvironment();
        m_isEnvironmentFetched = true;
    }
    return m_environment.value(name);
}

bool cVariableExpander::hasRoomFor(const QString& text, qint64 added) const
{
    return text.size() + added <= m_maxLength;
}
