#pragma once

#include <QtCore/qglobal.h>

/**
 * @file
 * The export macro of the library.
 *
 * Everything that hosts and plugins may use carries `NORVALE_EXPORT`; all other symbols of the library are hidden.
 */

/**
 * @def NORVALE_EXPORT
 * Marks a class or function of the exported interface. It exports while the library itself is built
 * (`NORVALE_BUILD`), imports in its users, and is empty for programs that link the objects statically
 * (`NORVALE_STATIC`).
 */
#if defined(NORVALE_STATIC)
#define NORVALE_EXPORT
#elif defined(NORVALE_BUILD)
#define NORVALE_EXPORT Q_DECL_EXPORT
#else
#define NORVALE_EXPORT Q_DECL_IMPORT
#endif
