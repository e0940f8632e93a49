#pragma once

#include <QtCore/QJsonObject>
#include <QtCore/QString>

/// The features, plugins and services of the suite, as programs and people are shown them.
namespace SuiteReport {

/**
 * What the framework of this process knows. It must have been initialised; services are there only while it runs.
 * @return an object with the arrays "features", "plugins" and "services", and "core_version".
 */
QJsonObject collect();

/// The tables that people read, of what collect() gave.
QString tables(const QJsonObject& report);

} // namespace SuiteReport
