"""Signed sites of The Update Framework, honest and forged, made with nothing of Norvale: http_site.py hands it what a test
writes to its standard input, a line of Python each, and serves what it made.

In a line stand the roles root, timestamp, snapshot, targets and, by name, roles[...]; what is signed of one is its attributes
(timestamp.version = 3). Further:

    new(...)              a site of one key a role: version 1 of root, 2 of all else, the target "main/a.zip"
    publish(ROLE...)      the honest way: the next version of each, and of what names it
    put(ROLE, CHANGE)     signs it as it is and serves it; CHANGE gets the document, and may give another, or bytes
    release()             publishes targets and all roles that it delegates to
    link(ROLE...)         sets what snapshot and timestamp, or one of them, say about those below
    target(PATH, BYTES)   serves a target and names it, in `role`
    tree()                names all that lies in the folder of the server, and nothing else
    tamper(PATH, CHANGE)  serves what CHANGE makes of a target, under each name that it has
    delegate(...)         gives `parent` a delegation to the new role that is returned
    rotate(ROLE, KEY...)  lets other keys sign a role
    days(N)               the time so many days from now
    mark(), heal()        what the publisher has; publishes that again, above whatever anybody has seen
    files, faults         what is served, and how (http_site.py), by path; a fault of None is none
    save(PATH)            writes what is served there, beside the folder of the server
    store()               writes all metadata there, into the folder "tuf"
    key(NAME, TYPE)       a key; the same at each call
"""

import copy
import datetime
import hashlib
import json
import os
import shutil
import urllib.parse

from cryptography.hazmat.primitives import hashes, serialization
from cryptography.hazmat.primitives.asymmetric import ec, ed25519, padding, rsa

FUTURE, PAST = "2090-01-01T00:00:00Z", "2020-01-01T00:00:00Z"
TOP = ("root", "timestamp", "snapshot", "targets")


def days(count):
    """So many days from now."""
    return (datetime.datetime.utcnow() + datetime.timedelta(count)).strftime("%Y-%m-%dT%H:%M:%SZ")


def canonical(value):
    """What signatures are over."""
    if isinstance(value, str):
        return '"%s"' % value.replace("\\", "\\\\").replace('"', '\\"')
    if isinstance(value, dict):
        return "{%s}" % ",".join(canonical(name) + ":" + canonical(value[name]) for name in sorted(value))
    if isinstance(value, (list, tuple)):
        return "[%s]" % ",".join(map(canonical, value))
    return json.dumps(value)


class Key:
    made = {}

    def __init__(self, name, kind="ed25519", keytype=None, scheme=None, id=None, bits=2048):
        seed = hashlib.sha256(name.encode()).digest()
        form, encoding = serialization.PublicFormat.SubjectPublicKeyInfo, serialization.Encoding.PEM
        self.kind = kind
        if kind == "ed25519":
            self.private = ed25519.Ed25519PrivateKey.from_private_bytes(seed)
            form, encoding = serialization.PublicFormat.Raw, serialization.Encoding.Raw
        elif kind == "ecdsa":
            self.private = ec.derive_private_key(int.from_bytes(seed, "big") >> 1, ec.SECP256R1())
        else:
            self.private = rsa.generate_private_key(65537, bits)
        public = self.private.public_key().public_bytes(encoding, form)
        text = public.hex() if kind == "ed25519" else public.decode()
        schemes = {"ed25519": "ed25519", "ecdsa": "ecdsa-sha2-nistp256", "rsa": "rsassa-pss-sha256"}
        self.public = {"keytype": keytype or kind, "scheme": scheme or schemes[kind], "keyval": {"public": text}}
        self.id = id or hashlib.sha256(canonical(self.public).encode()).hexdigest()
        self.hash, self.salt, self.signatures = hashes.SHA256(), 32, {}

    def __deepcopy__(self, memo):
        return self

    def sign(self, data):
        """The same at each call, though ECDSA and RSA draw lots: what names a document has its hash."""
        if data not in self.signatures:
            self.signatures[data] = self.sign_anew(data)
        return self.signatures[data]

    def sign_anew(self, data):
        if self.kind == "ed25519":
            return self.private.sign(data)
        if self.kind == "ecdsa":
            return self.private.sign(data, ec.ECDSA(self.hash))
        return self.private.sign(data, padding.PSS(padding.MGF1(self.hash), self.salt), self.hash)


def key(name, kind="ed25519", **how):
    identity = (name, kind, str(how))
    if identity not in Key.made:
        Key.made[identity] = Key(name, kind, **how)
    return Key.made[identity]


class Role:
    """What a role says ("signed", whose members are the attributes), and by whose keys it is signed."""

    OWN = ("name", "signed", "by")

    def __init__(self, name, by, **signed):
        self.name, self.by = name, by
        kind = name if name in TOP else "targets"
        self.signed = dict({"_type": kind, "spec_version": "1.0.31", "version": 1, "expires": FUTURE}, **signed)

    def __getattr__(self, name):
        try:
            return self.__dict__["signed"][name]
        except KeyError:
            raise AttributeError(name)

    def __setattr__(self, name, value):
        (self.__dict__ if name in self.OWN else self.signed)[name] = value

    def __deepcopy__(self, memo):
        twin = Role(self.name, list(self.by))
        twin.signed = copy.deepcopy(self.signed, memo)
        return twin

    def document(self):
        data = canonical(self.signed).encode()
        signatures = [{"keyid": one.id, "sig": one.sign(data).hex()} for one in self.by]
        return {"signatures": signatures, "signed": copy.deepcopy(self.signed)}

    def text(self):
        return json.dumps(self.document(), indent=1).encode()


def describe(data, algorithms):
    return {"length": len(data), "hashes": {name: hashlib.new(name, data).hexdigest() for name in algorithms}}


class Site:
    def __init__(self, server):
        self.folder, self.files, self.faults = server.folder, server.made, server.faults
        self.names = {name: getattr(self, name) for name in
                      "new publish release put link target delegate rotate mark heal save store tree tamper".split()}
        self.names.update(files=self.files, faults=self.faults, key=key, PAST=PAST, FUTURE=FUTURE, site=self,
                          days=days, describe=describe, canonical=canonical, json=json, copy=copy, hashlib=hashlib, hashes=hashes)

    def run(self, line):
        exec(line, self.names)

    def new(self, consistent=True, prefix=True, full=True, keys=1, threshold=1, algorithms=("sha256",), kind="ed25519"):
        self.files.clear()
        self.faults.clear()
        self.prefix, self.full, self.algorithms = prefix, full, algorithms
        signers = {name: [key(name + str(number), kind) for number in range(keys)] for name in TOP}
        self.roles = {name: Role(name, signers[name], version=2) for name in TOP}
        self.names.update(self.roles, roles=self.roles)
        root = self.roles["root"]
        root.version, root.consistent_snapshot, root.keys, root.roles = 1, consistent, {}, {}
        for name in TOP:
            self.rotate(self.roles[name], *signers[name], threshold=threshold)
        self.roles["snapshot"].meta, self.roles["timestamp"].meta, self.roles["targets"].targets = {}, {}, {}
        self.target("main/a.zip", b"the first")
        self.link()
        self.put(*self.roles.values())
        self.mark()

    def rotate(self, role, *keys, threshold=None):
        """For root, the old keys sign once more beside the new ones."""
        root, keys = self.roles["root"], [key(one) if isinstance(one, str) else one for one in keys]
        root.keys.update((one.id, one.public) for one in keys)
        before = root.roles.get(role.name, {"threshold": 1})
        root.roles[role.name] = {"keyids": [one.id for one in keys], "threshold": threshold or before["threshold"]}
        old = [one for one in role.by if one not in keys]
        role.by = keys
        if role is root:
            role.by, self.root_keys = keys + old, keys

    def target(self, path, data=b"content", role=None, served=None, algorithms=None, custom=None):
        role, data = role or self.roles["targets"], data.encode() if isinstance(data, str) else data
        role.targets[path] = describe(data, algorithms or self.algorithms)
        if custom is not None:
            role.targets[path]["custom"] = custom
        for place in self.places(path, role):
            self.files[place] = data if served is None else served

    def places(self, path, role):
        folder, slash, name = path.rpartition("/")
        names = [path]
        if self.prefix and self.roles["root"].consistent_snapshot:
            names = [folder + slash + digest + "." + name for digest in role.targets[path]["hashes"].values()]
        return ["/" + urllib.parse.quote(name) for name in names]

    def tree(self):
        self.roles["targets"].targets.clear()
        for folder, _, names in os.walk(self.folder):
            for name in names:
                path = os.path.join(folder, name)
                with open(path, "rb") as file:
                    self.target(os.path.relpath(path, self.folder).replace(os.sep, "/"), file.read())

    def tamper(self, path, change):
        role = self.roles["targets"]
        data = change(self.files[self.places(path, role)[0]])
        self.files.update((place, data) for place in self.places(path, role) + ["/" + path])

    def delegate(self, name, paths=None, parent=None, prefixes=None, terminating=False, keys=None, threshold=1, **targets):
        parent, keys = parent or self.roles["targets"], keys or [key(name)]
        how = {"name": name, "terminating": terminating, "threshold": threshold, "keyids": [one.id for one in keys]}
        how.update({"paths": paths or ["*"]} if prefixes is None else {"path_hash_prefixes": prefixes})
        delegations = parent.signed.setdefault("delegations", {"keys": {}, "roles": []})
        delegations["keys"].update((one.id, one.public) for one in keys)
        delegations["roles"].append(how)
        role = self.roles.get(name) or Role(name, keys, targets={})
        self.roles[name] = role
        return role

    def below(self):
        return [role for name, role in self.roles.items() if name not in TOP[:3]]

    def said(self, role):
        data = role.text()
        return dict({"version": role.version}, **describe(data, self.algorithms) if self.full else {})

    def link(self, *which):
        which = which or (self.roles["snapshot"], self.roles["timestamp"])
        if self.roles["snapshot"] in which:
            self.roles["snapshot"].meta.update((role.name + ".json", self.said(role)) for role in self.below())
        if self.roles["timestamp"] in which:
            self.roles["timestamp"].meta = {"snapshot.json": self.said(self.roles["snapshot"])}

    def path_of(self, role, version=None):
        name = urllib.parse.quote(role.name, "") + ".json"
        numbered = role.name == "root" or role.name != "timestamp" and self.roles["root"].consistent_snapshot
        return "/tuf/" + ("%d." % (version or role.version) if numbered else "") + name

    def put(self, *roles, to=None):
        change = roles[-1] if callable(roles[-1]) else None
        for role in roles[:-1] if change else roles:
            data = role.text()
            if change:
                document = role.document()
                data = change(document) or document
            self.files[to or self.path_of(role)] = data if isinstance(data, bytes) else json.dumps(data).encode()

    def publish(self, *roles):
        roles = list(roles) or [self.roles["timestamp"]]
        top = [self.roles[name] for name in TOP]
        if any(role not in top[:3] for role in roles) and top[2] not in roles:
            roles.append(top[2])
        if top[2] in roles and top[1] not in roles:
            roles.append(top[1])
        for role in roles:
            role.version += 1
        for role in top[2:0:-1]:
            if role in roles:
                self.link(role)
        self.put(*roles)
        if top[0] in roles:
            top[0].by = self.root_keys

    def release(self):
        self.publish(*self.below())

    def save(self, path):
        with open(self.folder + "/../" + path.rpartition("/")[2], "wb") as file:
            file.write(self.files[path])

    def store(self):
        shutil.rmtree(self.folder + "/../tuf", ignore_errors=True)
        os.makedirs(self.folder + "/../tuf")
        for path in (path for path in self.files if path.startswith("/tuf/")):
            with open(self.folder + "/.." + path, "wb") as file:
                file.write(self.files[path])

    def mark(self):
        self.marked = copy.deepcopy((self.roles, dict(self.files)))

    def heal(self, by=10):
        self.roles, files = copy.deepcopy(self.marked)
        self.files.clear()
        self.files.update(files)
        self.faults.clear()
        self.names.update({name: self.roles[name] for name in TOP}, roles=self.roles)
        self.root_keys = self.roles["root"].by
        below = [role for role in self.roles.values() if role.name != "root"]
        for role in below:
            role.version += by
        self.link()
        self.put(*below)
