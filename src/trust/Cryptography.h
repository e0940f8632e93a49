#pragma once

#include <QtCore/QByteArray>
#include <QtCore/QString>

#include <memory>

/**
 * The one seam to the library that does the cryptography: Cryptography_gcrypt.cpp, or Cryptography_none.cpp where none
 * was there at the build. Nothing else of the system knows which it is. Any thread.
 */
namespace Cryptography {

/// The signature schemes that are verified, all over SHA-256 but the first.
enum class Scheme { Ed25519, EcdsaP256, RsaPss };

/// What a key is made of, decoded. Of Ed25519: @ref point, 32 bytes. Of ECDSA on P-256: @ref point, uncompressed, 65
/// bytes. Of RSA: modulus and exponent, big-endian without leading zeros.
struct PublicKey
{
    Scheme scheme = Scheme::Ed25519;
    QByteArray point;
    QByteArray modulus;
    QByteArray exponent;
};

/// An Ed25519 key pair; both halves have 32 bytes, the secret one is the seed.
struct KeyPair
{
    QByteArray seed;
    QByteArray point;
};

/// Whether there is a library; when not, nothing verifies and nothing is made.
[[nodiscard]] bool isAvailable();

/// Why not, as a sentence for people; else the library's name and version.
[[nodiscard]] QString description();

/// Whether @p signature over @p message is that of @p key. Of ECDSA the signature is the DER sequence of r and s. What
/// is malformed is not verified.
[[nodiscard]] bool verify(const PublicKey& key, const QByteArray& message, const QByteArray& signature);

/// Makes a key pair of strong random numbers; empty when there is no library.
[[nodiscard]] KeyPair makeEd25519();

/// The public half of @p seed; empty when it is no seed.
[[nodiscard]] QByteArray ed25519PointOf(const QByteArray& seed);

/// The 64 bytes of the signature; empty when that failed.
[[nodiscard]] QByteArray signEd25519(const QByteArray& seed, const QByteArray& message);

/// SHA-256 or SHA-512 of bytes that come in pieces.
class cDigest
{
public:
    enum Algorithm { Sha256, Sha512 };

    explicit cDigest(Algorithm algorithm);
    ~cDigest();

    void add(const char* bytes, qint64 size);
    void add(const QByteArray& bytes) { add(bytes.constData(), bytes.size()); }
    /// Ends it; as raw bytes. Empty when there is no library.
    [[nodiscard]] QByteArray result();

private:
    struct Private;
    std::unique_ptr<Private> d;
};

[[nodiscard]] QByteArray sha256(const QByteArray& bytes);

} // namespace Cryptography
