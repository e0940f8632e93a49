#include "plugins/cVariableExpander.h"

#include <QtCore/QDir>

cVariableExpander::cVariableExpander(const QString& folder, const QString& name, const QString& version)
    : m_nativeFolder(QDir::toNativeSeparators(folder)), m_name(name), m_version(version)
{
}

QString cVariableExpander::expand(QString text)
{
    m_maxLength = qint64(text.size()) + MaxGrowth;
    for (int pass = 0; pass < MaxPasses && expandOnce(text); ++pass) {
    }
    return text;
}

bool cVariableExpander::expandOnce(QString& text)
{
    bool isChanged = replaceAll(text, QStringLiteral("$(PluginDir)"), m_nativeFolder);
    isChanged = replaceAll(text, QStringLiteral("$(PluginName)"), m_name) || isChanged;
    isChanged = replaceAll(text, QStringLiteral("$(PluginVersion)"), m_version) || isChanged;
    return replaceEnvironment(text) || isChanged;
}

bool cVariableExpander::replaceAll(QString& text, const QString& variable, const QString& value) const
{
    const int count = text.count(variable);
    if (count == 0 || value == variable || !hasRoomFor(text, qint64(count) * (value.size() - variable.size())))
        return false;
    text.replace(variable, value);
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
