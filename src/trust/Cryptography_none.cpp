#include "trust/Cryptography.h"

// Of a build without libgcrypt.

namespace Cryptography {

struct cDigest::Private
{
};

bool isAvailable()
{
    return false;
}

QString description()
{
    return QStringLiteral("Norvale was built without libgcrypt, and can neither verify signatures nor sign");
}

bool verify(const PublicKey&, const QByteArray&, const QByteArray&)
{
    return false;
}

KeyPair makeEd25519()
{
    return {};
}

QByteArray ed25519PointOf(const QByteArray&)
{
    return {};
}

QByteArray signEd25519(const QByteArray&, const QByteArray&)
{
    return {};
}

cDigest::cDigest(Algorithm) {}
cDigest::~cDigest() = default;

void cDigest::add(const char*, qint64) {}

QByteArray cDigest::result()
{
    return {};
}

QByteArray sha256(const QByteArray&)
{
    return {};
}

} // namespace Cryptography
