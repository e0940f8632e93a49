#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QMap>
#include <QtCore/QString>
#include <QtCore/QVariant>

/// The text of settings files, in the form that QSettings reads and writes.
namespace IniText {

/// The file with these values; keys are whole, with "/" between their parts.
QByteArray fileOf(const QMap<QString, QVariant>& values);

/// One value as it stands in the file. Values that have the same text are read as the same.
QByteArray valueOf(const QVariant& value);

} // namespace IniText
