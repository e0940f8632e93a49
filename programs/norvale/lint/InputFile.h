#pragma once

#include <QtCore/QByteArray>

class QString;
class cFindings;
class cPackage;

/// What a byte array holds, and the most that an installation reads of a description.
constexpr qint64 LargestFile = 0x7fffff00;
constexpr qint64 LargestDocument = 256 * 1024 * 1024;

/// Reads the file at @p path whole. Folders, pipes, devices and files above @p limit are refused, so that no input can
/// hang the program or take its memory. @return false when it cannot be read, which is then in @p findings.
[[nodiscard]] bool readInputFile(const QString& path, qint64 limit, QByteArray* bytes, cFindings& findings);

/// The SHA-1 of @p bytes, by which catalogues name what a file holds.
QByteArray sha1Of(const QByteArray& bytes);

/// Reads the file at @p path whole when it is there and has this SHA-1. @return false otherwise.
[[nodiscard]] bool readKnownFile(const QString& path, const QByteArray& sha1, QByteArray* bytes);

/// The bytes of "Manifest.xml" in a package whose directory has been read; empty when it is not there, cannot be
/// unpacked, or is larger than any manifest is (16 MiB).
QByteArray packageManifest(const cPackage& package);
