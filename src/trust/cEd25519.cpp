#include "trust/cEd25519.h"

#include "trust/Cryptography.h"

#include <algorithm>

namespace {

constexpr int Size = 32;

/// A number of the library's. It begins as zero.
class cNumber
{
public:
    cNumber() : m_number(gcry_mpi_new(0)) {}
    explicit cNumber(gcry_mpi_t number) : m_number(number) {}
    /// Of @p bytes, little-endian, as all of the scheme.
    explicit cNumber(QByteArray bytes)
    {
        std::reverse(bytes.begin(), bytes.end());
        gcry_mpi_scan(&m_number, GCRYMPI_FMT_USG, bytes.constData(), size_t(bytes.size()), nullptr);
    }
    ~cNumber() { gcry_mpi_release(m_number); }
    Q_DISABLE_COPY(cNumber)

    operator gcry_mpi_t() const { return m_number; }

    /// In 32 bytes; empty when it has more.
    QByteArray bytes() const
    {
        QByteArray result(Size, '\0');
        size_t written = 0;
        auto* const to = reinterpret_cast<uchar*>(result.data());
        if (gcry_mpi_print(GCRYMPI_FMT_USG, to, Size, &written, m_number) != 0)
            return {};
        std::reverse(result.begin(), result.begin() + int(written));
        return result;
    }

private:
    gcry_mpi_t m_number = nullptr;
};

/// A point on the curve.
class cPoint
{
public:
    cPoint() : m_point(gcry_mpi_point_new(0)) {}
    ~cPoint() { gcry_mpi_point_release(m_point); }
    Q_DISABLE_COPY(cPoint)

    operator gcry_mpi_point_t() const { return m_point; }

    bool decode(const QByteArray& bytes, gcry_ctx_t curve)
    {
        const cNumber encoded(gcry_mpi_set_opaque_copy(nullptr, bytes.constData(), 8 * uint(bytes.size())));
        return gcry_mpi_ec_decode_point(m_point, encoded, curve) == 0;
    }

    /// In 32 bytes; empty on failure. The curve's own point is this one afterwards, since only that can be encoded.
    QByteArray encode(gcry_ctx_t curve) const
    {
        if (gcry_mpi_ec_set_point("q", m_point, curve) != 0)
            return {};
        const cNumber encoded(gcry_mpi_ec_get_mpi("q@eddsa", curve, 1));
        uint bits = 0;
        const void* const bytes = encoded ? gcry_mpi_get_opaque(encoded, &bits) : nullptr;
        return bytes && bits == 8 * Size ? QByteArray(static_cast<const char*>(bytes), Size) : QByteArray();
    }

private:
    gcry_mpi_point_t m_point;
};

QByteArray hash(std::initializer_list<QByteArray> parts)
{
    Cryptography::cDigest digest(Cryptography::cDigest::Sha512);
    for (const QByteArray& part : parts)
        digest.add(part);
    return digest.result();
}

} // namespace

/// What a seed is hashed to: the secret number, and what the number of a signature is derived from.
struct cEd25519::Secret
{
    explicit Secret(const QByteArray& seed) : Secret(hash({seed}), 0) {}

    cNumber number;
    QByteArray prefix;

private:
    Secret(QByteArray hashed, int) : number(clamped(hashed.left(Size))), prefix(hashed.mid(Size))
    {
        // The library multiplies by it in a time that does not tell it.
        gcry_mpi_set_flag(number, GCRYMPI_FLAG_SECURE);
    }

    static QByteArray clamped(QByteArray bytes)
    {
        bytes[0] = char(bytes[0] & 0xf8);
        bytes[Size - 1] = char((bytes[Size - 1] & 0x7f) | 0x40);
        return bytes;
    }
};

cEd25519::cEd25519()
{
    if (gcry_mpi_ec_new(&m_curve, nullptr, "Ed25519") != 0)
        return;
    m_order = gcry_mpi_ec_get_mpi("n", m_curve, 1);
    m_base = gcry_mpi_ec_get_point("g", m_curve, 1);
}

cEd25519::~cEd25519()
{
    gcry_mpi_point_release(m_base);
    gcry_mpi_release(m_order);
    gcry_ctx_release(m_curve);
}

QByteArray cEd25519::pointOf(const QByteArray& seed)
{
    if (!m_base)
        return {};
    const Secret secret(seed);
    const cPoint point;
    gcry_mpi_ec_mul(point, secret.number, m_base, m_curve);
    return point.encode(m_curve);
}

QByteArray cEd25519::sign(const QByteArray& seed, const QByteArray& message)
{
    const QByteArray publicHalf = pointOf(seed);
    if (publicHalf.isEmpty())
        return {};
    const Secret secret(seed);
    const cNumber once(hash({secret.prefix, message}));
    gcry_mpi_set_flag(once, GCRYMPI_FLAG_SECURE);
    gcry_mpi_mod(once, once, m_order);
    const cPoint point;
    gcry_mpi_ec_mul(point, once, m_base, m_curve);
    const QByteArray first = point.encode(m_curve);
    const cNumber challenge(hash({first, publicHalf, message}));
    const cNumber second;
    gcry_mpi_mulm(second, challenge, secret.number, m_order);
    gcry_mpi_addm(second, second, once, m_order);
    return first.isEmpty() ? QByteArray() : first + second.bytes();
}

bool cEd25519::verify(const QByteArray& point, const QByteArray& message, const QByteArray& signature)
{
    const QByteArray first = signature.left(Size);
    const cNumber second(signature.mid(Size));
    cPoint key;
    // A second half above the order would be another form of the same signature.
    if (!m_base || gcry_mpi_cmp(second, m_order) >= 0 || !key.decode(point, m_curve))
        return false;
    const cNumber challenge(hash({first, point, message}));
    gcry_mpi_mod(challenge, challenge, m_order);
    const cPoint ofBase;
    const cPoint ofKey;
    const cPoint difference;
    gcry_mpi_ec_mul(ofBase, second, m_base, m_curve);
    gcry_mpi_ec_mul(ofKey, challenge, key, m_curve);
    gcry_mpi_ec_sub(difference, ofBase, ofKey, m_curve);
    return difference.encode(m_curve) == first;
}
