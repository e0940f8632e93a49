// Feeds bytes to the readers of keys, signatures and canonical JSON. What is read and written again is the same, and no
// bytes are a signature of keys whose other half nobody has.

#include "trust/CanonicalJson.h"
#include "trust/KeyText.h"
#include "trust/cTrustKey.h"

#include <QtCore/QString>

#include <cstdint>

namespace {

using Cryptography::PublicKey;
using Cryptography::Scheme;

void tryJson(const QByteArray& bytes)
{
    QString error;
    const auto object = CanonicalJson::read(bytes, &error);
    const auto form = object ? CanonicalJson::write(*object) : std::nullopt;
    if (object && !form)
        qFatal("what was read has no canonical form");
    if (!object)
        return;
    const auto key = cTrustKey::read("id", *object, &error);
    if (key && key->verify(bytes, bytes))
        qFatal("a text is its own signature");
    // The form is JSON again where it has no control characters, which stand in it as they are.
    for (const char c : *form) {
        if (uchar(c) < ' ')
            return;
    }
    const auto again = CanonicalJson::read(*form, &error);
    if (!again || CanonicalJson::write(*again) != form)
        qFatal("the canonical form does not come back: %s", qPrintable(error));
}

void tryText(const QByteArray& pem)
{
    QString error;
    const auto key = cTrustKey::ofPem(pem, &error);
    if (key && (key->id().size() != 64 || key->verify(pem, pem)))
        qFatal("a key of an odd kind: %s", qPrintable(key->id()));
    const auto pair = KeyText::readPrivateKey(pem, &error);
    if (!pair)
        return;
    const auto again = KeyText::readPrivateKey(KeyText::writePrivateKey(*pair), &error);
    if (!again || again->seed != pair->seed)
        qFatal("a private key does not come back: %s", qPrintable(error));
}

/// Points of known keys; the modulus is no product that anybody has the factors of.
PublicKey keyOf(Scheme scheme)
{
    PublicKey key;
    key.scheme = scheme;
    key.point = QByteArray::fromHex(scheme == Scheme::Ed25519
                                        ? "d75a980182b10ab7d54bfed3c964073a0ee172f3daa62325af021a68f707511a"
                                        : "0460fed4ba255a9d31c961eb74c6356d68c049b8923b61fa6ce669622e60f29fb6"
                                          "7903fe1008b8bc99a41ae9e95628bc64f2f1b20c2d7e9f5177a3c294d4462299");
    key.modulus = QByteArray(256, '\xdb');
    key.exponent = QByteArray::fromHex("010001");
    return key;
}

void trySignature(const QByteArray& bytes)
{
    for (const Scheme scheme : {Scheme::Ed25519, Scheme::EcdsaP256, Scheme::RsaPss}) {
        PublicKey key = keyOf(scheme);
        const int size = scheme == Scheme::Ed25519 ? 64 : scheme == Scheme::RsaPss ? 256 : bytes.size();
        if (Cryptography::verify(key, "nobody signed this", bytes.leftJustified(size, '\0', true)))
            qFatal("a signature is forged");
        // Any point: a weak one has signatures that everybody can make.
        key.point = bytes.left(scheme == Scheme::Ed25519 ? 32 : 65);
        key.modulus = bytes.left(256);
        (void)Cryptography::verify(key, bytes, bytes.mid(32).leftJustified(size, '\0', true));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), int(size));
    tryJson(bytes);
    tryText(bytes);
    for (const char* label : {"PUBLIC KEY-----\n", "RSA PUBLIC KEY-----\n", "PRIVATE KEY-----\n"})
        tryText(QByteArray("-----BEGIN ") + label + bytes.toBase64() + "\n-----END " + label);
    trySignature(bytes);
    return 0;
}
