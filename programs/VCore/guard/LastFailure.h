#pragma once

#include <Norvale/cPluginFailure.h>

#include <QtCore/QJsonObject>
#include <QtCore/QString>

/// How a plugin has ended the last run, as people and programs are told it.
namespace LastFailure {

/// One sentence without its end: "Hello-1.00.000 crashed (SIGSEGV) while it was started, 2026-11-25 20:11". The time
/// is that of the machine.
QString text(const cPluginFailure& failure);

/**
 * The same as JSON: "plugin", "version", "step" ("load", "start", "stop", "running"), "end" ("unknown", "crashed",
 * "hung"), "cause", "when" (ISO 8601, UTC), "in_a_row", "report", and the "text". Empty when there is no failure.
 */
QJsonObject json(const cPluginFailure& failure);

} // namespace LastFailure
