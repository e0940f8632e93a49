#pragma once

#include <QtCore/QStringList>

class QUrl;

/// Where updates are looked for: the group "UpdateMgr/Locations" of this program's own settings.
namespace UpdateSites {

/// The URLs, in the order in which they are asked.
QStringList list();

/// Replaces them. @return false when the settings cannot be written.
[[nodiscard]] bool set(const QList<QUrl>& sites);

/// The URL that @p text names: http, https or file, or the path of a folder that is there. Invalid when it is none.
QUrl urlOf(const QString& text);

} // namespace UpdateSites
