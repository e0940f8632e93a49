#pragma once

#include <MachineProgram.h>

/// Puts a repository's description and packages into @p folder; packages.py says in which words they are told.
inline void makeRepository(const QString& folder, const QStringList& words)
{
    if (MachineProgram::execute("python3", QStringList{PACKAGES_PY, "repository", folder} + words) != 0)
        qFatal("packages.py failed: %s", qPrintable(words.join(' ')));
}

/// Makes a package of that name.
inline void makePackage(const QString& path, const QString& plugin, const QString& version, const QString& fault)
{
    if (MachineProgram::execute("python3", {PACKAGES_PY, "package", path, plugin, version, fault}) != 0)
        qFatal("packages.py failed: %s", qPrintable(fault));
}
