#pragma once

#include <Norvale/cJsonValue.h>

#include <QtCore/QMetaType>

// Lets services take and return the library's JSON values in calls by name.
Q_DECLARE_METATYPE(cJsonValue)
