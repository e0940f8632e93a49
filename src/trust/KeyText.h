#pragma once

#include "trust/Cryptography.h"

#include <optional>

// Keys as they lie in files: PEM, as the common tools write it.

namespace KeyText {

/// The most bytes of a text that is read.
constexpr int MaxSize = 16 * 1024;

/// Reads a public key: "PUBLIC KEY" of Ed25519, ECDSA on P-256 or RSA, or "RSA PUBLIC KEY".
/// @return nothing when it is none of these; @p error then says why.
[[nodiscard]] std::optional<Cryptography::PublicKey> readPublicKey(const QByteArray& pem, QString* error);

/// Reads a private key: "PRIVATE KEY" of Ed25519, not encrypted. @return nothing when it is none; @p error says why.
[[nodiscard]] std::optional<Cryptography::KeyPair> readPrivateKey(const QByteArray& pem, QString* error);

/// The text that readPrivateKey() reads.
[[nodiscard]] QByteArray writePrivateKey(const Cryptography::KeyPair& pair);

} // namespace KeyText
