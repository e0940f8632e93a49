#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QMap>
#include <QtCore/QString>

/// What an installation has unpacked of a package, in memory: no folders, no empty files.
class cOldPackage
{
public:
    /// The most bytes that it may unpack to.
    static constexpr qint64 LargestContents = 256 * 1024 * 1024;

    /// Unpacks a package. @return false when it is damaged or unpacks to more than the limit; errorString() says which.
    [[nodiscard]] bool read(const QByteArray& bytes);

    /// Contents by their names.
    const QMap<QString, QByteArray>& files() const { return m_files; }

    /// All files, one after the other.
    QByteArray contents() const;

    /// Makes the package of @p size bytes that @p patch makes from the files. @return false when it makes none.
    [[nodiscard]] bool rebuild(const QByteArray& patch, qint64 size, QByteArray* package);

    const QString& errorString() const { return m_errorString; }

private:
    bool fail(const QString& reason);

    QMap<QString, QByteArray> m_files;
    QString m_errorString;
};
