#pragma once

#include <QtCore/QDir>
#include <QtCore/QString>

#include <string>

/// @p path, which is absolute, in the form that the system takes beyond 260 characters, too. Qt's own classes use it,
/// so what they can make, calls of the system must be able to reach.
inline std::wstring longPath(const QString& path)
{
    const QString native = QDir::toNativeSeparators(path);
    const bool isShare = native.startsWith(QLatin1String("\\\\"));
    const QString name = isShare ? QLatin1String("\\\\?\\UNC") + native.mid(1) : QLatin1String("\\\\?\\") + native;
    return name.toStdWString();
}
