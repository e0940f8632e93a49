"""Keys and signatures made by other means than ours, Python's cryptography and openssl: foreign_keys.py FOLDER writes
signed.json there, an array of objects with "name", "key" (as in metadata), "message" and "signature" (hex), and "is_good";
and private.pem, which openssl made."""
import json
import pathlib
import subprocess
import sys

from cryptography.hazmat.primitives import hashes
from cryptography.hazmat.primitives.asymmetric import ec, ed25519, padding, rsa, utils
from cryptography.hazmat.primitives.serialization import Encoding, PublicFormat

folder = pathlib.Path(sys.argv[1])
message = b'{"a":"nasty \xc3\xa4 text"}' * 9
sha256 = hashes.SHA256()
rows = []


def row(name, type, scheme, public, signature, is_good=True, message=message):
    key = {"keytype": type, "scheme": scheme, "keyval": {"public": public}}
    rows.append({"name": name, "key": key, "message": message.hex(), "signature": signature.hex(), "is_good": is_good})


def pem(key, form=PublicFormat.SubjectPublicKeyInfo):
    return key.public_key().public_bytes(Encoding.PEM, form).decode()


def raw(key, encoding=Encoding.Raw, form=PublicFormat.Raw):
    return key.public_key().public_bytes(encoding, form)


def openssl(*arguments):
    return subprocess.run(["openssl", *arguments], cwd=folder, check=True, stdout=subprocess.PIPE).stdout


def der(*numbers):
    """The sequence of integers of a signature, of their contents."""
    content = b"".join(bytes([2, len(n)]) + n for n in numbers)
    return bytes([0x30, len(content)]) + content


def ed25519_rows():
    key = ed25519.Ed25519PrivateKey.generate()
    good = key.sign(message)
    row("ed25519", "ed25519", "ed25519", raw(key).hex(), good)
    row("ed25519, upper case", "ed25519", "ed25519", raw(key).hex().upper(), good)
    for size in 65535, 65536, 300000:  # on both sides of what libgcrypt takes at once
        long = bytes(i % 251 for i in range(size))
        row(f"ed25519, {size} bytes", "ed25519", "ed25519", raw(key).hex(), key.sign(long), True, long)
    row("ed25519, a scheme that is not known", "ed25519", "ed25519ph", raw(key).hex(), good, False)
    row("ed25519, a key of 31 bytes", "ed25519", "ed25519", raw(key).hex()[2:], good, False)
    row("ed25519, no hex", "ed25519", "ed25519", "z" + raw(key).hex()[1:], good, False)
    row("ed25519, no point", "ed25519", "ed25519", "ff" * 32, good, False)
    order = 2**252 + 27742317777372353535851937790883648493
    again = (int.from_bytes(good[32:], "little") + order).to_bytes(32, "little")
    row("ed25519, the same signature once more", "ed25519", "ed25519", raw(key).hex(), good[:32] + again, False)
    openssl("genpkey", "-algorithm", "ed25519", "-out", "private.pem")
    (folder / "message").write_bytes(message)
    text = openssl("pkey", "-in", "private.pem", "-pubout").decode()
    signature = openssl("pkeyutl", "-sign", "-inkey", "private.pem", "-rawin", "-in", "message")
    row("ed25519 of openssl, PEM", "ed25519", "ed25519", text, signature)


def ecdsa_rows():
    for attempt in range(8):  # numbers of all lengths
        key = ec.generate_private_key(ec.SECP256R1())
        row(f"ecdsa {attempt}", "ecdsa", "ecdsa-sha2-nistp256", pem(key), key.sign(message, ec.ECDSA(sha256)))
    good = key.sign(message, ec.ECDSA(sha256))
    kind = ("ecdsa-sha2-nistp256", "ecdsa-sha2-nistp256")
    point = raw(key, Encoding.X962, PublicFormat.UncompressedPoint).hex()
    row("ecdsa, the old type", *kind, pem(key), good)
    row("ecdsa, SHA-512", *kind, pem(key), key.sign(message, ec.ECDSA(hashes.SHA512())), False)
    row("ecdsa, a point", *kind, point, good)
    row("ecdsa, a compressed point", *kind, raw(key, Encoding.X962, PublicFormat.CompressedPoint).hex(), good, False)
    row("ecdsa, off the curve", *kind, point[:-2] + "%02x" % (int(point[-2:], 16) ^ 1), good, False)
    r, s = (n.to_bytes(33, "big") for n in utils.decode_dss_signature(good))
    short = [n[1:] if n[1] < 0x80 else n for n in (r, s)]
    row("ecdsa, as it is", *kind, point, der(*short))
    row("ecdsa, padded", *kind, point, der(*(b"\0" + n for n in short)), False)
    row("ecdsa, a third number", *kind, point, der(*short, b"\1"), False)
    row("ecdsa, bytes behind", *kind, point, good + b"\0", False)
    row("ecdsa, zeros", *kind, point, der(b"\0", b"\0"), False)
    row("ecdsa, negative", *kind, point, der(b"\x80" + r[2:], short[1]), False)
    row("ecdsa, a length of four bytes", *kind, point, b"\x30\x84\0\0\0" + good[1:], False)
    row("ecdsa, without an end", *kind, point, b"\x30\x80" + good[2:] + b"\0\0", False)
    other = ec.generate_private_key(ec.SECP384R1())
    row("ecdsa, another curve", *kind, pem(other), other.sign(message, ec.ECDSA(sha256)), False)


def rsa_rows():
    kind = ("rsa", "rsassa-pss-sha256")
    key = rsa.generate_private_key(65537, 2048)

    def pss(key, salt, hash=sha256):
        return key.sign(message, padding.PSS(padding.MGF1(hash), salt), hash)

    row("rsa, salt of the hash", *kind, pem(key), pss(key, 32))
    row("rsa, the most salt", *kind, pem(key), pss(key, padding.PSS.MAX_LENGTH))
    row("rsa, PKCS#1", *kind, pem(key, PublicFormat.PKCS1), pss(key, 32))
    row("rsa, SHA-512", *kind, pem(key), pss(key, 32, hashes.SHA512()), False)
    row("rsa, not PSS", *kind, pem(key), key.sign(message, padding.PKCS1v15(), sha256), False)
    odd = rsa.generate_private_key(3, 2049)
    row("rsa, 2049 bits", *kind, pem(odd), pss(odd, 32))
    row("rsa, 2049 bits, the most salt", *kind, pem(odd), pss(odd, padding.PSS.MAX_LENGTH))
    weak = rsa.generate_private_key(65537, 1024)
    row("rsa, 1024 bits", *kind, pem(weak), pss(weak, 32), False)
    row("rsa, an ecdsa key", *kind, pem(ec.generate_private_key(ec.SECP256R1())), pss(key, 32), False)
    row("rsa, a broken PEM", *kind, pem(key).replace("\nM", "\n*"), pss(key, 32), False)


ed25519_rows()
ecdsa_rows()
rsa_rows()
(folder / "signed.json").write_text(json.dumps(rows))
