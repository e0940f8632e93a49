#include "trust/Cryptography.h"

#include "trust/cDerReader.h"
#include "trust/cEd25519.h"

#include <gcrypt.h>

namespace {

constexpr int SeedSize = 32;
constexpr int Ed25519SignatureSize = 64;
constexpr int MostEcdsaSignature = 72; // two integers of 33 bytes, and the heads of these and of the sequence
constexpr int LeastModulus = 2048 / 8;
constexpr int MostModulus = 8192 / 8;
constexpr int MostExponent = 8;
constexpr int Sha256Size = 32;

/// Whether the library is there and initialized; a host may have done that already.
bool isReady()
{
    static const bool ready = [] {
        if (!gcry_check_version("1.8.0"))
            return false;
        if (!gcry_control(GCRYCTL_INITIALIZATION_FINISHED_P)) {
            gcry_control(GCRYCTL_DISABLE_SECMEM, 0); // its locked pages would need rights
            gcry_control(GCRYCTL_INITIALIZATION_FINISHED, 0);
        }
        return true;
    }();
    return ready;
}

/// An expression of the library's language, in which it takes keys, data and signatures. Its parts have at most 65,535
/// bytes: the library does not look, and aborts later.
class cExpression
{
public:
    /// %b in @p format takes a length and a pointer, %d a number.
    template <typename... Arguments>
    explicit cExpression(const char* format, Arguments... arguments)
    {
        if (gcry_sexp_build(&m_expression, nullptr, format, arguments...) != 0)
            m_expression = nullptr;
    }
    ~cExpression() { gcry_sexp_release(m_expression); }
    Q_DISABLE_COPY(cExpression)

    operator gcry_sexp_t() const { return m_expression; }

private:
    gcry_sexp_t m_expression = nullptr;
};

bool verifies(const cExpression& key, const cExpression& data, const cExpression& signature)
{
    return key && data && signature && gcry_pk_verify(signature, data, key) == 0;
}

/// An unsigned number as the library takes it for one: without the zero a first bit would be the sign.
QByteArray asUnsigned(const QByteArray& number)
{
    return '\0' + number;
}

bool verifyEcdsa(const QByteArray& point, const QByteArray& message, const QByteArray& signature)
{
    if (point.size() != 65 || point[0] != '\x04' || signature.size() > MostEcdsaSignature)
        return false;
    cDerReader outer(signature);
    cDerReader numbers = outer.takeSequence();
    const QByteArray r = asUnsigned(numbers.takePositive());
    const QByteArray s = asUnsigned(numbers.takePositive());
    if (!outer.isDone() || !numbers.isDone())
        return false;
    const QByteArray hash = asUnsigned(Cryptography::sha256(message));
    return verifies(
        cExpression("(public-key (ecc (curve \"NIST P-256\") (q %b)))", int(point.size()), point.constData()),
        cExpression("(data (flags raw) (value %b))", int(hash.size()), hash.constData()),
        cExpression("(sig-val (ecdsa (r %b) (s %b)))", int(r.size()), r.constData(), int(s.size()), s.constData()));
}

bool isSound(const QByteArray& modulus, const QByteArray& exponent)
{
    const bool hasSizes = modulus.size() >= LeastModulus && modulus.size() <= MostModulus && !exponent.isEmpty() &&
                          exponent.size() <= MostExponent;
    if (!hasSizes || modulus[0] == '\0' || exponent[0] == '\0')
        return false;
    const bool areOdd = modulus.back() & exponent.back() & 1;
    return areOdd && exponent != "\1";
}

bool verifyRsaPss(const Cryptography::PublicKey& key, const QByteArray& message, const QByteArray& signature)
{
    if (!isSound(key.modulus, key.exponent) || signature.size() != key.modulus.size())
        return false;
    const QByteArray n = asUnsigned(key.modulus);
    const QByteArray e = asUnsigned(key.exponent);
    const QByteArray s = asUnsigned(signature);
    const QByteArray hash = Cryptography::sha256(message);
    const cExpression publicKey("(public-key (rsa (n %b) (e %b)))", int(n.size()), n.constData(), int(e.size()),
                                e.constData());
    const cExpression value("(sig-val (rsa (s %b)))", int(s.size()), s.constData());
    // The scheme does not fix the length of the salt: tools take that of the hash, or the most that has room.
    const int bits = int(gcry_pk_get_nbits(publicKey));
    const int mostSalt = (bits - 1 + 7) / 8 - Sha256Size - 2;
    for (const int salt : {Sha256Size, mostSalt}) {
        const cExpression data("(data (flags pss) (salt-length %d) (hash sha256 %b))", salt, hash.size(),
                               hash.constData());
        if (verifies(publicKey, data, value))
            return true;
    }
    return false;
}

} // namespace

namespace Cryptography {

bool isAvailable()
{
    return isReady();
}

QString description()
{
    const QString name = QStringLiteral("libgcrypt %1").arg(QLatin1String(gcry_check_version(nullptr)));
    return isReady() ? name : QStringLiteral("%1 is there, but 1.8.0 or newer is needed").arg(name);
}

bool verify(const PublicKey& key, const QByteArray& message, const QByteArray& signature)
{
    if (!isReady())
        return false;
    switch (key.scheme) {
    case Scheme::Ed25519:
        return key.point.size() == SeedSize && signature.size() == Ed25519SignatureSize &&
               cEd25519().verify(key.point, message, signature);
    case Scheme::EcdsaP256:
        return verifyEcdsa(key.point, message, signature);
    case Scheme::RsaPss:
        return verifyRsaPss(key, message, signature);
    }
    return false;
}

KeyPair makeEd25519()
{
    if (!isReady())
        return {};
    KeyPair pair;
    pair.seed.resize(SeedSize);
    gcry_randomize(pair.seed.data(), SeedSize, GCRY_VERY_STRONG_RANDOM);
    pair.point = ed25519PointOf(pair.seed);
    return pair.point.isEmpty() ? KeyPair() : pair;
}

QByteArray ed25519PointOf(const QByteArray& seed)
{
    return seed.size() == SeedSize && isReady() ? cEd25519().pointOf(seed) : QByteArray();
}

QByteArray signEd25519(const QByteArray& seed, const QByteArray& message)
{
    return seed.size() == SeedSize && isReady() ? cEd25519().sign(seed, message) : QByteArray();
}

struct cDigest::Private
{
    gcry_md_hd_t handle = nullptr;
    int algorithm = 0;
};

cDigest::cDigest(Algorithm algorithm) : d(std::make_unique<Private>())
{
    d->algorithm = algorithm == Sha256 ? GCRY_MD_SHA256 : GCRY_MD_SHA512;
    if (!isReady() || gcry_md_open(&d->handle, d->algorithm, 0) != 0)
        d->handle = nullptr;
}

cDigest::~cDigest()
{
    gcry_md_close(d->handle);
}

void cDigest::add(const char* bytes, qint64 size)
{
    if (d->handle)
        gcry_md_write(d->handle, bytes, size_t(size));
}

QByteArray cDigest::result()
{
    if (!d->handle)
        return {};
    const uchar* const hash = gcry_md_read(d->handle, d->algorithm);
    return QByteArray(reinterpret_cast<const char*>(hash), int(gcry_md_get_algo_dlen(d->algorithm)));
}

QByteArray sha256(const QByteArray& bytes)
{
    if (!isReady())
        return {};
    QByteArray hash(Sha256Size, Qt::Uninitialized);
    gcry_md_hash_buffer(GCRY_MD_SHA256, hash.data(), bytes.constData(), size_t(bytes.size()));
    return hash;
}

} // namespace Cryptography
