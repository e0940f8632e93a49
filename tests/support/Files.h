#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QDir>
#include <QtCore/QFileInfo>

/// Empty when the file cannot be read.
inline QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QFile::ReadOnly) ? file.readAll() : QByteArray();
}

/// Writes a file, with the folders that lead to it.
inline void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QDir().mkpath(QFileInfo(path).path());
    if (!file.open(QFile::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
}
