#pragma once

#include "version/cPluginId.h"

#include <QtCore/QProcessEnvironment>
#include <QtCore/QString>
#include <QtCore/QStringList>

/**
 * Replaces the variables in the command lines of one plugin's manifest.
 *
 * "$(PluginDir)", "$(PluginName)" and "$(PluginVersion)" stand for the plugin's folder with native separators, its name
 * and its version; "$(env.NAME)" for an environment variable, empty when it is not set. A pass replaces all of the
 * first three and the first of the last; passes are repeated until one changes nothing, so values may contain
 * variables.
 *
 * Values that name each other would never come to an end. Therefore there are at most `MaxPasses` passes, and the text
 * does not grow by more than `MaxGrowth` characters; what has come about by then is the result.
 */
class cVariableExpander
{
public:
    /// As many variables of the environment can a text have, one in each pass; real command lines have a handful.
    static constexpr int MaxPasses = 1000;

    /// Far above what a command line of any system can hold (32,767 characters on Windows, 2 MiB on Linux in all).
    static constexpr int MaxGrowth = 1024 * 1024;

    cVariableExpander(const cPluginId& plugin, const QString& folder) : m_plugin(plugin), m_folder(folder) {}

    QString expand(QString text);

    /// What looks like a variable in @p text and is none, as it stands there.
    static QStringList unknownVariables(const QString& text);

private:
    bool expandOnce(QString& text);
    template <typename Value>
    bool replaceAll(QString& text, QLatin1String variable, Value value) const;
    bool replaceEnvironment(QString& text);
    QString environmentValue(const QString& name);
    bool hasRoomFor(const QString& text, qint64 added) const;

    cPluginId m_plugin;
    QString m_folder;
    QProcessEnvironment m_environment; // fetched when the first variable of it turns up
    bool m_isEnvironmentFetched = false;
    qint64 m_maxLength = 0;
};
