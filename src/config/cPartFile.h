#pragma once

#include "config/cContentDigest.h"

#include <QtCore/QFile>
#include <QtCore/QUrl>

/**
 * The part of a file that is being fetched, and where it came from. What is written goes to the system at once, so that
 * a killed process loses nothing of it, and is digested on the way.
 */
class cPartFile : public QFile
{
public:
    /// Where the bytes of the part came from. Only with a validator of the answer more of them can be asked for: a
    /// strong entity tag, or else the date.
    struct Origin
    {
        QUrl url;
        QByteArray validator;
    };

    /// The part of the file @p path. SHA-256 costs time and is not made by default.
    explicit cPartFile(const QString& path, bool hasSha256 = false);

    static QString partOf(const QString& path) { return path + QStringLiteral(".part"); }
    static QString originOf(const QString& path) { return path + QStringLiteral(".part.origin"); }

    /// Opens it, and makes it where it is missing. What lies there is to be digested by digestOn() before anything is
    /// written.
    [[nodiscard]] bool openPart();
    /// Digests a piece of what lies there. @return false when there was no more.
    bool digestOn();

    Origin readOrigin() const;
    /// Begins anew, with nothing, for bytes of @p origin.
    [[nodiscard]] bool beginFrom(const Origin& origin);
    bool removeOrigin() const { return QFile::remove(m_origin); }

    /// Empties the part, and the digests.
    bool resize(qint64 size) override;

    qint64 length() const { return m_digest->length(); } // that is digested
    qint64 bytesWritten() const { return m_written; }
    QByteArray sha1() const { return m_digest->sha1(); }
    /// Once.
    QByteArray sha256() { return m_digest->sha256(); }

    /// Why the disk refuses to go on; empty when it does not.
    QString fault() const { return m_fault; }

protected:
    qint64 writeData(const char* bytes, qint64 size) override;

private:
    bool fail(const QFileDevice& file);

    const QString m_origin;
    const bool m_hasSha256;
    std::optional<cContentDigest> m_digest; // there always; made anew to begin anew
    qint64 m_written = 0;
    qint64 m_handedOver = 0; // up to here the system has been told to bring it to the disk
    QString m_fault;
};
