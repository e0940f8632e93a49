#include "SuiteReport.h"

#include "common/Terminal.h"

#include <Norvale/Corvane.h>
#include <Norvale/IConfigMgr.h>
#include <Norvale/IPluginMgr.h>
#include <Norvale/IServiceMgr.h>

#include <QtCore/QJsonArray>

namespace {

QString stateName(cPluginInfo::State state)
{
    switch (state) {
    case cPluginInfo::Registered:
        return QStringLiteral("registered");
    case cPluginInfo::Ordered:
        return QStringLiteral("ordered");
    case cPluginInfo::Loaded:
        return QStringLiteral("loaded");
    case cPluginInfo::Started:
        return QStringLiteral("started");
    case cPluginInfo::Stopped:
        return QStringLiteral("stopped");
    }
    return QString();
}

QJsonObject featureObject(const cFeatureInfo& feature)
{
    QJsonObject names;
    for (auto it = feature.displayNames.begin(); it != feature.displayNames.end(); ++it)
        names.insert(it.key(), it.value());
    return {{QStringLiteral("name"), feature.name},
            {QStringLiteral("version"), feature.version.toString()},
            {QStringLiteral("active"), feature.active},
            {QStringLiteral("repository"), feature.repository},
            {QStringLiteral("display_names"), names},
            {QStringLiteral("plugins"), QJsonArray::fromStringList(feature.plugins)}};
}

QJsonObject pluginObject(const cPluginInfo& plugin)
{
    return {{QStringLiteral("name"), plugin.name},
            {QStringLiteral("version"), plugin.version.toString()},
            {QStringLiteral("category"), plugin.category},
            {QStringLiteral("autoload"), plugin.autoload},
            {QStringLiteral("order"), plugin.order},
            {QStringLiteral("state"), stateName(plugin.state)},
            {QStringLiteral("dependencies"), QJsonArray::fromStringList(plugin.dependencies)},
            {QStringLiteral("services"), QJsonArray::fromStringList(plugin.services)},
            {QStringLiteral("folder"), plugin.folder}};
}

// How a member is shown in a cell: lists comma-separated, claims as yes or no.
QString cell(const QJsonValue& value)
{
    if (value.isBool())
        return value.toBool() ? QStringLiteral("yes") : QStringLiteral("no");
    if (value.isDouble())
        return QString::number(value.toInt());
    QStringList items;
    for (const auto& item : value.toArray())
        items.append(item.toString());
    return value.isArray() ? items.join(QStringLiteral(", ")) : value.toString();
}

QString table(const QJsonArray& objects, const QStringList& members)
{
    cTextTable table(members);
    for (const auto& object : objects) {
        QStringList cells;
        for (const QString& member : members)
            cells.append(cell(object.toObject().value(member)));
        table.addRow(cells);
    }
    return table.text();
}

} // namespace

QJsonObject SuiteReport::collect()
{
    QJsonArray features;
    for (const cFeatureInfo& feature : IConfigMgr::installedFeatures())
        features.append(featureObject(feature));
    QJsonArray plugins;
    for (const cPluginInfo& plugin : IPluginMgr::instance()->plugins())
        plugins.append(pluginObject(plugin));
    return {{QStringLiteral("core_version"), Corvane::currentVersion()},
            {QStringLiteral("features"), features},
            {QStringLiteral("plugins"), plugins},
            {QStringLiteral("services"), QJsonArray::fromStringList(IServiceMgr::instance()->serviceList())}};
}

QString SuiteReport::tables(const QJsonObject& report)
{
    const QString features = table(
        report.value(QStringLiteral("features")).toArray(),
        {QStringLiteral("name"), QStringLiteral("version"), QStringLiteral("active"), QStringLiteral("repository")});
    const QString plugins =
        table(report.value(QStringLiteral("plugins")).toArray(),
              {QStringLiteral("name"), QStringLiteral("version"), QStringLiteral("category"), QStringLiteral("state"),
               QStringLiteral("dependencies"), QStringLiteral("services")});
    QString text = QStringLiteral("Features\n%1\n\nPlugins\n%2").arg(features, plugins);
    const QJsonArray services = report.value(QStringLiteral("services")).toArray();
    if (!services.isEmpty())
        text += QStringLiteral("\n\nRegistered services\n") + cell(services);
    return text;
}
