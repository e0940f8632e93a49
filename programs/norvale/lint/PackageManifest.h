#pragma once

#include <QtCore/QByteArray>

class cZipArchive;

/// The bytes of "Manifest.xml" in a package; empty when it is not there, cannot be unpacked, or is larger than any
/// manifest is (16 MiB).
QByteArray packageManifest(const cZipArchive& package);
