#include "guard/LastFailure.h"

namespace {

QString nameOf(cPluginFailure::Step step)
{
    switch (step) {
    case cPluginFailure::None:
        break;
    case cPluginFailure::Load:
        return QStringLiteral("load");
    case cPluginFailure::Start:
        return QStringLiteral("start");
    case cPluginFailure::Stop:
        return QStringLiteral("stop");
    case cPluginFailure::Running:
        return QStringLiteral("running");
    }
    return QString();
}

QString nameOf(cPluginFailure::End end)
{
    switch (end) {
    case cPluginFailure::Unknown:
        break;
    case cPluginFailure::Crashed:
        return QStringLiteral("crashed");
    case cPluginFailure::Hung:
        return QStringLiteral("hung");
    }
    return QStringLiteral("unknown");
}

QString whileOf(cPluginFailure::Step step)
{
    switch (step) {
    case cPluginFailure::None:
        break;
    case cPluginFailure::Load:
        return QStringLiteral("while it was loaded");
    case cPluginFailure::Start:
        return QStringLiteral("while it was started");
    case cPluginFailure::Stop:
        return QStringLiteral("while it was stopped");
    case cPluginFailure::Running:
        return QStringLiteral("while the suite ran");
    }
    return QString();
}

} // namespace

QString LastFailure::text(const cPluginFailure& failure)
{
    QString verb = QStringLiteral("was at work when the last run ended,");
    if (failure.end != cPluginFailure::Unknown)
        verb = nameOf(failure.end);
    const QString cause = failure.cause.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(failure.cause);
    const QString when = failure.when.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm"));
    QString text = QStringLiteral("%1-%2 %3%4 %5, %6")
                       .arg(failure.plugin, failure.version.toString(), verb, cause, whileOf(failure.step), when);
    if (failure.inARow > 1)
        text += QStringLiteral(", %1 times in a row").arg(failure.inARow);
    return text;
}

QJsonObject LastFailure::json(const cPluginFailure& failure)
{
    if (failure.step == cPluginFailure::None)
        return {};
    return {{QStringLiteral("plugin"), failure.plugin},
            {QStringLiteral("version"), failure.version.toString()},
            {QStringLiteral("step"), nameOf(failure.step)},
            {QStringLiteral("end"), nameOf(failure.end)},
            {QStringLiteral("cause"), failure.cause},
            {QStringLiteral("when"), failure.when.toUTC().toString(Qt::ISODate)},
            {QStringLiteral("in_a_row"), failure.inARow},
            {QStringLiteral("report"), failure.report},
            {QStringLiteral("text"), text(failure)}};
}
