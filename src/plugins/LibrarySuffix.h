#pragma once

#include <QtCore/qglobal.h>

/// What is appended to a manifest's `filename`. There is no prefix on any system: foo is foo.dll or foo.so.
#ifdef Q_OS_WIN
constexpr char LibrarySuffix[] = ".dll";
#else
constexpr char LibrarySuffix[] = ".so";
#endif
