#pragma once

class QString;

/// Removes a folder that is empty. Where a program that has just ended can hold its working folder a moment longer,
/// that moment is waited for. @return false when it is not empty, in use, or not to be removed.
bool removeEmptyFolder(const QString& path);
