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

// What the plugin was, when the step was at hand.
QString participleOf(cPluginFailure::Step step)
{
    switch (step) {
    case cPluginFailure::None:
    case cPluginFailure::Running:
        break;
    case cPluginFailure::Load:
        return QStringLiteral("loaded");
    case cPluginFailure::Start:
        return QStringLiteral("started");
    case cPluginFailure::Stop:
        return QStringLiteral("stopped");
    }
    return QString();
}

QString sentence(const cPluginFailure& failure)
{
    const QString id = failure.plugin + QLatin1Char('-') + failure.version.toString();
    const QString participle = participleOf(failure.step);
    const bool isRunning = participle.isEmpty();
    if (failure.end == cPluginFailure::Unknown) {
        const QString state = isRunning ? QStringLiteral("at work") : QStringLiteral("being ") + participle;
        return QStringLiteral("%1 was %2 when the last run ended").arg(id, state);
    }
    const QString cause = failure.cause.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(failure.cause);
    const QString when = isRunning ? QStringLiteral("the suite ran") : QStringLiteral("it was ") + participle;
    return QStringLiteral("%1 %2%3 while %4").arg(id, nameOf(failure.end), cause, when);
}

} // namespace

QString LastFailure::text(const cPluginFailure& failure)
{
    const QString when = failure.when.toLocalTime().toString(QStringLiteral("yyyy-MM-dd HH:mm"));
    QString text = QStringLiteral("%1, %2").arg(sentence(failure), when);
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
