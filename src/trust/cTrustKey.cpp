#include "trust/cTrustKey.h"

#include "trust/CanonicalJson.h"
#include "trust/KeyText.h"
#include "version/Numbers.h"

using Cryptography::PublicKey;
using Cryptography::Scheme;

namespace {

/// What the standard's key types and schemes are here.
struct Kind
{
    const char* type;
    const char* scheme;
    Scheme is;
};

constexpr Kind kinds[] = {
    {"ed25519", "ed25519", Scheme::Ed25519},
    {"ecdsa", "ecdsa-sha2-nistp256", Scheme::EcdsaP256},
    {"ecdsa-sha2-nistp256", "ecdsa-sha2-nistp256", Scheme::EcdsaP256}, // before 1.0.29 the type was that
    {"rsa", "rsassa-pss-sha256", Scheme::RsaPss},
};

/// The key that @p text, "public" in the metadata, is; nothing when it is malformed or of another kind.
std::optional<PublicKey> decode(Scheme scheme, const QString& text)
{
    PublicKey key;
    key.scheme = scheme;
    key.point = text.size() <= 2 * 65 ? hexBytes(text) : QByteArray();
    const int size = scheme == Scheme::Ed25519 ? 32 : scheme == Scheme::EcdsaP256 ? 65 : -1;
    if (key.point.size() == size)
        return key;
    QString ignored;
    const std::optional<PublicKey> ofPem = KeyText::readPublicKey(text.toUtf8(), &ignored);
    return ofPem && ofPem->scheme == scheme ? ofPem : std::nullopt;
}

/// The id that the standard derives.
QString idOf(const QJsonObject& object)
{
    return QString::fromLatin1(Cryptography::sha256(CanonicalJson::write(object).value_or(QByteArray())).toHex());
}

QJsonObject objectOf(const Kind& kind, const QByteArray& text)
{
    return {{QStringLiteral("keytype"), QLatin1String(kind.type)},
            {QStringLiteral("scheme"), QLatin1String(kind.scheme)},
            {QStringLiteral("keyval"), QJsonObject{{QStringLiteral("public"), QString::fromLatin1(text)}}}};
}

} // namespace

std::optional<cTrustKey> cTrustKey::read(const QString& id, const QJsonObject& object, QString* error)
{
    const QJsonValue type = object.value(QLatin1String("keytype"));
    const QJsonValue scheme = object.value(QLatin1String("scheme"));
    const QJsonValue value = object.value(QLatin1String("keyval"));
    const char* const missing = !type.isString()     ? "keytype"
                                : !scheme.isString() ? "scheme"
                                : !value.isObject()  ? "keyval"
                                                     : nullptr;
    if (missing) {
        *error = QStringLiteral("key \"%1\" has no \"%2\"").arg(id, QLatin1String(missing));
        return std::nullopt;
    }
    cTrustKey key;
    key.m_id = id;
    key.m_type = type.toString();
    key.m_scheme = scheme.toString();
    key.m_object = object;
    for (const Kind& kind : kinds) {
        if (key.m_type != QLatin1String(kind.type) || key.m_scheme != QLatin1String(kind.scheme))
            continue;
        const QJsonValue text = value.toObject().value(QLatin1String("public"));
        if (!text.isString()) {
            *error = QStringLiteral("key \"%1\" has no \"public\" in \"keyval\"").arg(id);
            return std::nullopt;
        }
        key.m_key = decode(kind.is, text.toString());
    }
    return key;
}

cTrustKey cTrustKey::ofEd25519(const QByteArray& point)
{
    const QJsonObject object = objectOf(kinds[0], point.toHex());
    QString ignored;
    return read(idOf(object), object, &ignored).value_or(cTrustKey());
}

std::optional<cTrustKey> cTrustKey::ofPem(const QByteArray& pem, QString* error)
{
    const std::optional<PublicKey> key = KeyText::readPublicKey(pem, error);
    if (!key)
        return std::nullopt;
    if (key->scheme == Scheme::Ed25519)
        return ofEd25519(key->point);
    const Kind& kind = key->scheme == Scheme::EcdsaP256 ? kinds[1] : kinds[3];
    // The same key from a file with other line ends has the same id.
    const QJsonObject object = objectOf(kind, pem.trimmed().replace("\r\n", "\n"));
    return read(idOf(object), object, error);
}

bool cTrustKey::verify(const QByteArray& message, const QByteArray& signature) const
{
    return m_key && Cryptography::verify(*m_key, message, signature);
}
