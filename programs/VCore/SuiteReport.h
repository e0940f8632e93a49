#pragma once

#include "common/cStyledLine.h"

#include <QtCore/QJsonObject>

/// The features, plugins and services of the suite, as programs and people are shown them: in the answer to LIST, and
/// by `VCore --list` with and without a running host.
namespace SuiteReport {

/**
 * What the framework of this process knows. It must have been initialised; services are there only while it runs.
 * @return an object with the arrays "features", "plugins" and "services", "core_version", and "last_failure" where
 * there is one.
 */
QJsonObject collect();

/// How many plugins of @p report, which collect() gave, should run and have failed.
int countFailed(const QJsonObject& report);

/// The tables that people read, of what collect() gave. A reason that would go beyond @p columns, those of the
/// terminal, stands whole below its plugin instead of in its column; 0 is for no terminal, where no line is too long.
cStyledLines tables(const QJsonObject& report, int columns);

} // namespace SuiteReport
