#include "plugins/cVariableExpander.h"

#include <QtCore/QDir>

namespace {

const QLatin1String Opening("$(");
const QLatin1String PluginDir("$(PluginDir)");
const QLatin1String PluginName("$(PluginName)");
const QLatin1String PluginVersion("$(PluginVersion)");
const QLatin1String EnvironmentOpening("$(env.");

} // namespace

QString cVariableExpander::expand(QString text)
{
    m_maxLength = qint64(text.size()) + MaxGrowth;
    for (int pass = 0; pass < MaxPasses && text.contains(Opening) && expandOnce(text); ++pass) {
    }
    return text;
}

bool cVariableExpander::expandOnce(QString& text)
{
    bool isChanged = replaceAll(text, PluginDir, [&] { return QDir::toNativeSeparators(m_folder); });
    isChanged = replaceAll(text, PluginName, [&] { return m_plugin.name(); }) || isChanged;
    isChanged = replaceAll(text, PluginVersion, [&] { return m_plugin.version().toString(); }) || isChanged;
    return replaceEnvironment(text) || isChanged;
}

/// @p value is called only when there is something to replace.
template <typename Value>
bool cVariableExpander::replaceAll(QString& text, QLatin1String variable, Value value) const
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
    const int begin = text.indexOf(EnvironmentOpening);
    if (begin < 0)
        return false;
    const int nameBegin = begin + EnvironmentOpening.size();
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

QStringList cVariableExpander::unknownVariables(const QString& text)
{
    QStringList unknown;
    for (int at = text.indexOf(Opening); at >= 0; at = text.indexOf(Opening, at + Opening.size())) {
        const int end = text.indexOf(QLatin1Char(')'), at);
        const QString variable = text.mid(at, end < 0 ? -1 : end + 1 - at);
        const bool isOfPlugin = variable == PluginDir || variable == PluginName || variable == PluginVersion;
        const bool isOfEnvironment = variable.startsWith(EnvironmentOpening) &&
                                     variable.size() > EnvironmentOpening.size() + 1; // the name and the bracket
        if (end < 0 || (!isOfPlugin && !isOfEnvironment))
            unknown.append(variable);
    }
    return unknown;
}
