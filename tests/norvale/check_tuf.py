"""check_tuf.py SITE: verifies a signed site by other means than its own: each root by the one before and itself, what
follows from the last one, and every file that is vouched for. Prints the versions of root, timestamp, snapshot, targets.

check_tuf.py SITE KEY DAYS: signs SITE's timestamp anew with the Ed25519 key in the file KEY, to expire in DAYS from now."""
import datetime
import hashlib
import json
import pathlib
import sys

from cryptography.hazmat.primitives import hashes, serialization
from cryptography.hazmat.primitives.asymmetric import ec, ed25519

site = pathlib.Path(sys.argv[1])
tuf = site / "tuf"


def canonical(value):
    def text(item):
        if isinstance(item, dict):
            return "{" + ",".join(text(name) + ":" + text(item[name]) for name in sorted(item)) + "}"
        if isinstance(item, list):
            return "[" + ",".join(map(text, item)) + "]"
        if isinstance(item, str):  # line ends stay as they are
            return '"' + item.replace("\\", "\\\\").replace('"', '\\"') + '"'
        return json.dumps(item)
    return text(value).encode()


def is_signed_by(key, signature, message):
    public = key["keyval"]["public"]
    try:
        if key["keytype"] == "ed25519":
            ed25519.Ed25519PublicKey.from_public_bytes(bytes.fromhex(public)).verify(signature, message)
        else:
            serialization.load_pem_public_key(public.encode()).verify(signature, message, ec.ECDSA(hashes.SHA256()))
    except Exception:
        return False
    return True


def read(name, role, *roots):
    document = json.loads((tuf / name).read_bytes())
    message = canonical(document["signed"])
    for root in roots or (document["signed"],):
        ids = root["roles"][role]["keyids"]
        good = {s["keyid"] for s in document["signatures"] if s["keyid"] in ids
                and is_signed_by(root["keys"][s["keyid"]], bytes.fromhex(s["sig"]), message)}
        assert len(good) >= root["roles"][role]["threshold"], f"{name} is signed by {len(good)}"
    assert document["signed"]["_type"] == role and document["signed"]["spec_version"].startswith("1.0.")
    return document["signed"]


def verify(path, entry):
    data = path.read_bytes()
    assert len(data) == entry["length"], path
    for name, digest in entry["hashes"].items():
        assert hashlib.new(name, data).hexdigest() == digest, path


def check():
    root = read("1.root.json", "root")
    while (tuf / f"{root['version'] + 1}.root.json").exists():
        number = root["version"] + 1
        after = read(f"{number}.root.json", "root", root)
        root = read(f"{number}.root.json", "root")
        assert after["version"] == number
    timestamp = read("timestamp.json", "timestamp", root)
    meta = timestamp["meta"]["snapshot.json"]
    verify(tuf / f"{meta['version']}.snapshot.json", meta)
    snapshot = read(f"{meta['version']}.snapshot.json", "snapshot", root)
    meta = snapshot["meta"]["targets.json"]
    verify(tuf / f"{meta['version']}.targets.json", meta)
    targets = read(f"{meta['version']}.targets.json", "targets", root)
    for path, entry in targets["targets"].items():
        place = site / path
        if place.suffix == ".xml":
            place = place.with_name(entry["hashes"]["sha256"] + "." + place.name)
        verify(place, entry)
    print(*(document["version"] for document in (root, timestamp, snapshot, targets)), *sorted(targets["targets"]))


def sign_timestamp(key_file, days):
    key = serialization.load_pem_private_key(pathlib.Path(key_file).read_bytes(), None)
    document = json.loads((tuf / "timestamp.json").read_bytes())
    end = datetime.datetime.now(datetime.timezone.utc) + datetime.timedelta(days=float(days))
    document["signed"]["expires"] = end.strftime("%Y-%m-%dT%H:%M:%SZ")
    document["signatures"][0]["sig"] = key.sign(canonical(document["signed"])).hex()
    (tuf / "timestamp.json").write_text(json.dumps(document, indent=1))


if len(sys.argv) > 2:
    sign_timestamp(*sys.argv[2:])
else:
    check()
