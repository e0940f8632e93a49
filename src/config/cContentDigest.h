#pragma once

#include "trust/Cryptography.h"

#include <QtCore/QCryptographicHash>
#include <QtCore/QIODevice>

#include <optional>

/**
 * The digests of a file's content that descriptions and trusted metadata give: SHA-1 and, where it is asked for, since
 * that takes its time, SHA-256. The content may come in pieces.
 */
class cContentDigest
{
public:
    /// The bytes of a file that are read at a time.
    static constexpr qint64 ReadStep = 1024 * 1024;

    explicit cContentDigest(bool hasSha256);

    void add(const char* bytes, qint64 size);
    /// Adds the content of the file at @p path, read in steps. @return false when it cannot be read.
    [[nodiscard]] bool addFile(const QString& path);

    qint64 length() const { return m_length; } // bytes
    QByteArray sha1() const { return m_sha1.result(); }
    /// Once, at the end. Empty when it was not asked for.
    QByteArray sha256() { return m_sha256 ? m_sha256->result() : QByteArray(); }

private:
    QCryptographicHash m_sha1{QCryptographicHash::Sha1};
    std::optional<Cryptography::cDigest> m_sha256;
    qint64 m_length = 0;
};

/// Passes on what is written to a device, and digests it on the way.
class cDigestedWriting : public QIODevice
{
public:
    /// Both stay the caller's.
    cDigestedWriting(QIODevice& device, cContentDigest& digest);

    bool isSequential() const override { return true; }

protected:
    qint64 readData(char*, qint64) override { return -1; }
    qint64 writeData(const char* bytes, qint64 size) override;

private:
    QIODevice& m_device;
    cContentDigest& m_digest;
};
