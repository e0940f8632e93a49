#pragma once

#include <QtCore/QByteArray>

#include <gcrypt.h>

/**
 * Ed25519 on libgcrypt's curve and hash, as RFC 8032, section 5.1, puts them together. The library's own functions for
 * it take no message above 65,535 bytes: it holds it in an expression whose lengths have 16 bits, and aborts. Metadata
 * that names a few hundred packages is longer.
 *
 * Sizes are the caller's to look at: 32 bytes for seeds and points, 64 for signatures.
 */
class cEd25519
{
public:
    cEd25519();
    ~cEd25519();
    Q_DISABLE_COPY(cEd25519)

    /// The public half of @p seed; empty on failure, as the next.
    QByteArray pointOf(const QByteArray& seed);
    QByteArray sign(const QByteArray& seed, const QByteArray& message);
    bool verify(const QByteArray& point, const QByteArray& message, const QByteArray& signature);

private:
    struct Secret;

    gcry_ctx_t m_curve = nullptr;
    gcry_mpi_t m_order = nullptr; // of the base point
    gcry_mpi_point_t m_base = nullptr;
};
