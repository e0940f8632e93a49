#pragma once

#include "trust/Cryptography.h"

#include <QtCore/QJsonObject>
#include <QtCore/QString>

#include <optional>

/**
 * A public key as it stands in root and delegations metadata. The id that the metadata gives it names it; it is not
 * derived from the content, as ids made by other tools are not. A value.
 */
class cTrustKey
{
public:
    cTrustKey() = default;

    /// Reads the object of a key. One of a type or scheme that is not known is no fault: it is kept, and verifies
    /// nothing. @return nothing when a member that every key has is missing or of a wrong type; @p error says which.
    [[nodiscard]] static std::optional<cTrustKey> read(const QString& id, const QJsonObject& object, QString* error);

    /// The Ed25519 key of @p point, with the id that the standard derives: the SHA-256 of its canonical form.
    [[nodiscard]] static cTrustKey ofEd25519(const QByteArray& point);

    /// The key of a PEM text ("PUBLIC KEY"), with its derived id; for keys that lie in tokens and key services.
    [[nodiscard]] static std::optional<cTrustKey> ofPem(const QByteArray& pem, QString* error);

    const QString& id() const { return m_id; }
    /// As in the metadata: "ed25519", "ecdsa", "rsa".
    const QString& type() const { return m_type; }
    /// As in the metadata: "ed25519", "ecdsa-sha2-nistp256", "rsassa-pss-sha256".
    const QString& scheme() const { return m_scheme; }
    /// The object, with whatever members it was read with.
    const QJsonObject& object() const { return m_object; }

    /// What it is made of, the same for one key in whatever form and under whatever id; empty when it verifies nothing.
    [[nodiscard]] QByteArray material() const
    {
        return m_key ? m_key->point + m_key->modulus + '/' + m_key->exponent : QByteArray();
    }

    /// Whether @p signature over @p message is this key's.
    [[nodiscard]] bool verify(const QByteArray& message, const QByteArray& signature) const;

private:
    QString m_id;
    QString m_type;
    QString m_scheme;
    QJsonObject m_object;
    std::optional<Cryptography::PublicKey> m_key; // of a scheme that is known, decoded
};
