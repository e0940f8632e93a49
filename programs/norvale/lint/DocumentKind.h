#pragma once

class QByteArray;
class QString;

/// Which of the system's documents a file is.
namespace DocumentKind {

enum Kind { None, Manifest, Features, Repository, Site };

/// By its name, where that is one that the system gives to such documents; else by what stands in it.
Kind of(const QString& fileName, const QByteArray& xml);

bool isKnownName(const QString& fileName);

} // namespace DocumentKind
