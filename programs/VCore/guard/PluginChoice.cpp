#include "guard/PluginChoice.h"

#include "HostSystem.h"
#include "common/HostSettings.h"
#include "common/Terminal.h"
#include "guard/LastFailure.h"

#include <Norvale/IConfigMgr.h>
#include <Norvale/IPluginMgr.h>

#include <QtCore/QDir>
#include <QtCore/QSet>
#include <QtCore/QSettings>

namespace {

// Keys of the host's own settings.
const QString DisabledKey = QStringLiteral("Plugins/Disabled");       // List of names.
const QString HangSecondsKey = QStringLiteral("Plugins/HangSeconds"); // When a step hangs, default 30, 0 for never.
const QString EndHungKey = QStringLiteral("Plugins/EndHung");         // Whether that ends the process, default false.

bool changeDisabled(const std::function<void(QStringList&)>& change, QString* error)
{
    const QString folder = HostSystem::userFolder(error);
    return !folder.isEmpty() &&
           HostSettings::changeList(DisabledKey, QDir(folder).filePath(QStringLiteral("vcore-settings.lock")), change,
                                    error);
}

cGuardOptions guardOptions(bool isOn)
{
    const QSettings settings;
    cGuardOptions options;
    options.isOn = isOn;
    options.writesReports = isOn;
    bool isNumber = false;
    const int seconds = settings.value(HangSecondsKey).toInt(&isNumber);
    if (isNumber && seconds >= 0)
        options.hangSeconds = seconds;
    options.endsHungProcess = settings.value(EndHungKey, false).toBool();
    return options;
}

// What is left out when only the core is wanted. Whatever a plugin needs goes with it.
QStringList allButCore()
{
    IPluginMgr::instance()->discover(); // what is faulty is logged
    QStringList core;
    for (const cFeatureInfo& feature : IConfigMgr::installedFeatures()) {
        if (feature.name == QLatin1String("Core"))
            core += feature.plugins;
    }
    QMap<QString, QStringList> needs;
    QStringList waiting;
    for (const cPluginInfo& plugin : IPluginMgr::instance()->plugins()) {
        needs.insert(plugin.name, PluginChoice::dependenciesOf(plugin));
        if (plugin.name == QLatin1String("ZentraSettings") || plugin.name == QLatin1String("Core") ||
            core.contains(plugin.name + QLatin1Char('-') + plugin.version.toString()))
            waiting.append(plugin.name);
    }
    while (!waiting.isEmpty())
        waiting += needs.take(waiting.takeLast());
    return needs.keys();
}

// Tells the failure of the last run. A plugin that fails again and again is disabled.
void answerLastFailure(QStringList& leftOut)
{
    const cPluginFailure failure = IPluginMgr::instance()->lastFailure();
    if (failure.step == cPluginFailure::None)
        return;
    QString end = QStringLiteral("; it is left out");
    if (!leftOut.contains(failure.plugin)) {
        end = QStringLiteral("; `VCore --run --without %1` starts without it").arg(failure.plugin);
        if (failure.inARow > 1) {
            leftOut.append(failure.plugin);
            QString error;
            end = PluginChoice::disable({failure.plugin}, &error)
                      ? QStringLiteral("; it is left out from now on, until `VCore --enable %1`").arg(failure.plugin)
                      : QStringLiteral("; it is left out of this start, but not of the next: ") + error;
        }
    }
    if (!failure.report.isEmpty())
        end += QStringLiteral("; the report is in %1, `VCore --report` prints it").arg(failure.report);
    Terminal::warning(LastFailure::text(failure) + end);
}

} // namespace

QStringList PluginChoice::namesIn(const QStringList& words)
{
    QStringList names;
    for (const QString& name : words.join(QLatin1Char(',')).split(QLatin1Char(','))) {
        if (!name.trimmed().isEmpty() && !names.contains(name.trimmed()))
            names.append(name.trimmed());
    }
    return names;
}

QStringList PluginChoice::dependenciesOf(const cPluginInfo& plugin)
{
    QStringList names;
    for (const QString& text : plugin.dependencies)
        names.append(text.section(QLatin1Char(':'), 0, 0));
    return names;
}

QStringList PluginChoice::disabled()
{
    return QSettings().value(DisabledKey).toStringList();
}

bool PluginChoice::disable(const QStringList& names, QString* error)
{
    const auto add = [&](QStringList& list) {
        list += names;
        list.removeDuplicates();
        list.sort();
    };
    return changeDisabled(add, error);
}

bool PluginChoice::enable(const QStringList& names, QString* error)
{
    const auto remove = [&](QStringList& list) {
        for (const QString& name : names)
            list.removeAll(name);
    };
    return changeDisabled(remove, error);
}

void PluginChoice::prepareStart(const Options& options)
{
    IPluginMgr* const plugins = IPluginMgr::instance();
    plugins->setGuard(guardOptions(options.isGuarded));
    QStringList leftOut = disabled() + options.without;
    if (options.isGuarded)
        answerLastFailure(leftOut);
    plugins->leaveOut(leftOut);
    if (options.isSafe)
        plugins->leaveOut(leftOut + allButCore());
}
