#pragma once

class QString;

/// True for one to three numbers that cVersion reads as they stand, with the point behind the first that it asks for:
/// "1.", "1.2", "1.02.003".
bool isVersionText(const QString& text);

/// What is wrong with a version: "there is no version" or what stands there.
QString versionComplaint(const QString& text);
