#include "SuiteReport.h"

#include "common/Terminal.h"
#include "guard/LastFailure.h"

#include <Norvale/Corvane.h>
#include <Norvale/IConfigMgr.h>
#include <Norvale/IPluginMgr.h>
#include <Norvale/IServiceMgr.h>

#include <QtCore/QJsonArray>
#include <QtCore/QMap>

#include <algorithm>

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
            {QStringLiteral("folder"), plugin.folder},
            {QStringLiteral("left_out"), plugin.leftOut},
            {QStringLiteral("failed"), plugin.hasFailed},
            {QStringLiteral("reason"), plugin.reason}};
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

bool hasFailed(const QJsonValue& plugin)
{
    return plugin.toObject().value(QStringLiteral("failed")).toBool();
}

Style styleOfState(const QString& state)
{
    if (state == QLatin1String("started"))
        return Style::Good;
    return state == QLatin1String("failed") ? Style::Error : Style::Plain;
}

cStyledLine heading(const char* text)
{
    return {QLatin1String(text), Style::Heading};
}

cTextTable table(const QJsonArray& objects, const QStringList& members)
{
    cTextTable table(members);
    for (const auto& object : objects) {
        QStringList cells;
        for (const QString& member : members)
            cells.append(cell(object.toObject().value(member)));
        table.addRow(cells);
    }
    return table;
}

/// @p text below a row of a table, in lines of at most so many columns where its words allow that.
cStyledLines below(const QString& text, int columns)
{
    const QString indent(4, QLatin1Char(' '));
    cStyledLines lines;
    QString line = indent;
    for (const QString& word : text.split(QLatin1Char(' '))) {
        if (line != indent && line.size() + word.size() > columns) {
            lines.append(line.chopped(1));
            line = indent;
        }
        line += word + QLatin1Char(' ');
    }
    lines.append(line.chopped(1));
    return lines;
}

// What a person looks for is who does not run and why: that stands last, and whole.
cStyledLines pluginTable(const QJsonArray& plugins, int columns)
{
    const QString state = QStringLiteral("state"), reason = QStringLiteral("reason");
    QStringList members{QStringLiteral("name"),
                        QStringLiteral("version"),
                        QStringLiteral("category"),
                        QStringLiteral("autoload"),
                        state,
                        QStringLiteral("dependencies"),
                        QStringLiteral("services")};
    QJsonArray shown;
    for (const auto& plugin : plugins) {
        QJsonObject object = plugin.toObject();
        if (hasFailed(plugin))
            object.insert(state, QStringLiteral("failed"));
        shown.append(object);
    }
    const int width = table(shown, members).lines().at(1).text().size() + 2;
    QStringList tooLong; // for each row; empty where its column takes the reason
    for (int row = 0; row < shown.size(); ++row) {
        QJsonObject object = shown.at(row).toObject();
        const QString text = Terminal::printable(object.value(reason).toString());
        const bool isTooLong = columns > 0 && !text.isEmpty() && width + text.size() > columns;
        tooLong.append(isTooLong ? text : QString());
        if (isTooLong)
            object.insert(reason, QStringLiteral("below"));
        shown[row] = object;
    }
    members.append(reason);
    cTextTable rows = table(shown, members);
    rows.setStyle(members.indexOf(state), styleOfState);
    const cStyledLines all = rows.lines();
    cStyledLines lines = all.mid(0, all.size() - tooLong.size()); // the headings
    for (int row = 0; row < tooLong.size(); ++row) {
        lines.append(all.at(all.size() - tooLong.size() + row));
        if (!tooLong.at(row).isEmpty())
            lines += below(tooLong.at(row), columns);
    }
    return lines;
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
    QJsonObject report{
        {QStringLiteral("core_version"), Corvane::currentVersion()},
        {QStringLiteral("features"), features},
        {QStringLiteral("plugins"), plugins},
        {QStringLiteral("services"), QJsonArray::fromStringList(IServiceMgr::instance()->serviceList())}};
    const QJsonObject failure = LastFailure::json(IPluginMgr::instance()->lastFailure());
    if (!failure.isEmpty())
        report.insert(QStringLiteral("last_failure"), failure);
    return report;
}

int SuiteReport::countFailed(const QJsonObject& report)
{
    const QJsonArray plugins = report.value(QStringLiteral("plugins")).toArray();
    return int(std::count_if(plugins.begin(), plugins.end(), hasFailed));
}

cStyledLines SuiteReport::tables(const QJsonObject& report, int columns)
{
    cStyledLines lines{heading("Features")};
    lines += table(report.value(QStringLiteral("features")).toArray(),
                   {QStringLiteral("name"), QStringLiteral("version"), QStringLiteral("active"),
                    QStringLiteral("repository")})
                 .lines();
    lines << QString() << heading("Plugins");
    lines += pluginTable(report.value(QStringLiteral("plugins")).toArray(), columns);
    const QJsonArray services = report.value(QStringLiteral("services")).toArray();
    if (!services.isEmpty())
        lines << QString() << heading("Registered services") << cell(services);
    const QString disabled = cell(report.value(QStringLiteral("disabled")));
    if (!disabled.isEmpty())
        lines << QString() << heading("Disabled (VCore --enable NAME undoes it)") << disabled;
    const QJsonObject failure = report.value(QStringLiteral("last_failure")).toObject();
    if (!failure.isEmpty())
        lines << QString() << heading("Last failure") << cell(failure.value(QStringLiteral("text")));
    const QString path = cell(failure.value(QStringLiteral("report")));
    if (!path.isEmpty())
        lines << QStringLiteral("The report is in %1").arg(path);
    return lines;
}
