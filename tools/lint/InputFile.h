#pragma once

#include <QtCore/QByteArray>

class QString;
class cFindings;

/// Reads the file at @p path whole. Folders, pipes, devices and files above 2 GiB are refused, so that no input can
/// hang the program. @return false when it cannot be read, which is then in @p findings.
[[nodiscard]] bool readInputFile(const QString& path, QByteArray* bytes, cFindings& findings);
