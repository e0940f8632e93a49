#pragma once

#include <QtCore/QtGlobal>

/// Waits until the suite says something over the connection, or has ended it. Nothing is read.
void waitForSuite(qintptr connection);
