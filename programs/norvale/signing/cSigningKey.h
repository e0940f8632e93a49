#pragma once

#include "trust/cTrustKey.h"

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <optional>

/**
 * A key that signs: an Ed25519 key from a file, or a command, for keys that never leave a token or a key service. A
 * value.
 */
class cSigningKey
{
public:
    /// A new key; nothing when there is no library for it.
    [[nodiscard]] static std::optional<cSigningKey> make();

    /// The key of a PEM text ("PRIVATE KEY").
    [[nodiscard]] static std::optional<cSigningKey> ofPem(const QByteArray& pem, QString* error);

    /// @p command reads what it is to sign on its standard input, and prints the signature, raw or in hexadecimal;
    /// @p publicPem is the key that it signs with.
    [[nodiscard]] static std::optional<cSigningKey> ofCommand(const QString& command, const QByteArray& publicPem,
                                                              QString* error);

    /// The public half.
    const cTrustKey& key() const { return m_key; }

    /// Signs @p message. @return empty when that failed, or the signature does not verify; @p error then says why.
    [[nodiscard]] QByteArray sign(const QByteArray& message, QString* error) const;

    // What is kept of it in a folder: the PEM text, or the command and its public key.
    QByteArray pem() const;
    const QString& command() const { return m_command; }
    const QByteArray& publicPem() const { return m_publicPem; }

private:
    cSigningKey() = default;
    explicit cSigningKey(const Cryptography::KeyPair& pair) : m_key(cTrustKey::ofEd25519(pair.point)), m_pair(pair) {}

    QByteArray askCommand(const QByteArray& message, QString* error) const;

    cTrustKey m_key;
    Cryptography::KeyPair m_pair; // empty of a command
    QString m_command;
    QByteArray m_publicPem;
};
