#pragma once

#include <QtCore/QByteArray>

#include <QtCore/QMap>
#include <QtCore/QString>

class cFindings;
class cPackage;
struct cManifest;

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

/// Which major version of Qt a plugin's library is built with, by the ending that it has on a system: ".so" or ".dll".
using cQtMajors = QMap<QString, int>;

/// Of the libraries in a package whose directory has been read; @p manifest is the package's own.
cQtMajors packageQtMajors(const cPackage& package, const cManifest& manifest);

/// Of those of an unpacked plugin in @p folder.
cQtMajors folderQtMajors(const QString& folder, const cManifest& manifest);
