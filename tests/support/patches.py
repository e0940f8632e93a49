#!/usr/bin/env python3
"""Writes patches for tests, right ones and defective ones, by what src/delta/cRebuild.h says of their form.

patches.py make OLD-FOLDER PACKAGE PATCH
patches.py faults OLD-FOLDER PACKAGE FOLDER     one patch for each fault, named after it
patches.py zip FOLDER PACKAGE [LEVEL]           a package of the folder as Python makes it, level 0 stores
"""
import hashlib, os, struct, sys, zipfile, zlib

BLOCK = 24  # bytes that must be equal for a match


def number(value):
    out = bytearray()
    while value >= 0x80:
        out.append(value & 0x7F | 0x80)
        value >>= 7
    return bytes(out) + bytes([value])


def text(value):
    return number(len(value.encode())) + value.encode()


def files_of(folder):
    paths = [os.path.join(root, name) for root, _, names in os.walk(folder) for name in names]
    return sorted((os.path.relpath(path, folder).replace(os.sep, "/"), open(path, "rb").read()) for path in paths)


def reproducing(content, packed):
    """The parameters with which zlib makes the stream again, None when there are none."""
    for level in (6, 9, 1, 5, 8, 7, 4, 3, 2):
        for memory in (8, 9):
            maker = zlib.compressobj(level, zlib.DEFLATED, -15, memory, 0)
            if maker.compress(content) + maker.flush() == packed:
                return level, memory, 0
    return None


def parts_of(package):
    """Parts as (parameters or None, content), all of the package."""
    parts, done = [], 0
    for info in sorted(zipfile.ZipFile(package).infolist(), key=lambda info: info.header_offset):
        data = open(package, "rb").read()
        begin = info.header_offset + 30 + sum(struct.unpack_from("<HH", data, info.header_offset + 26))
        packed = data[begin : begin + info.compress_size]
        if info.compress_type == zipfile.ZIP_DEFLATED:
            content = zlib.decompress(packed, -15)
            parameters = reproducing(content, packed)
            if parameters:
                parts += [(None, data[done:begin]), (parameters, content)]
                done = begin + len(packed)
    return parts + [(None, open(package, "rb").read()[done:])]


def matches(old, new):
    """Where something of the new is like the old: (place in new, place in old, bytes), in the order of the new."""
    places = {old[i : i + BLOCK]: i for i in range(0, len(old) - BLOCK + 1, 4)}
    i = 0
    while i < len(new):
        at = places.get(new[i : i + BLOCK])
        if at is None:
            i += 1
            continue
        length = end = wrong = 0
        while i + length < len(new) and at + length < len(old) and wrong < 8:
            step = new[i + length : i + length + 512]
            if len(step) == 512 and step == old[at + length : at + length + 512]:
                length, wrong = length + 512, 0
                end = length
                continue
            wrong = 0 if new[i + length] == old[at + length] else wrong + 1
            length += 1
            end = end if wrong else length  # single other bytes are differences
        yield i, at, end
        i += end


class Patch:
    def __init__(self, folder, package):
        self.mark, self.tail, self.longer = b"NORVPAT1", b"", 0
        files = files_of(folder)
        self.size = os.path.getsize(package)
        self.files = [[path, len(data), hashlib.sha1(data).digest()] for path, data in files]
        self.parts = [[parameters, len(content)] for parameters, content in parts_of(package)]
        old, new = b"".join(data for _, data in files), b"".join(content for _, content in parts_of(package))
        self.old_size, self.behind = len(old), b""  # of the control stream
        self.instructions, self.difference, self.extra = [[0, 0, 0]], b"", b""
        done = place = 0
        for i, at, length in matches(old, new):
            self.instructions[-1][1:] = i - done, at - place
            self.instructions.append([length, 0, 0])
            self.extra += new[done:i]
            self.difference += bytes((a - b) % 256 for a, b in zip(new[i : i + length], old[at : at + length]))
            done, place = i + length, at + length
        self.instructions[-1][1] = len(new) - done
        self.extra += new[done:]

    def control(self):
        out = number(self.size) + number(len(self.files))
        out += b"".join(text(path) + number(size) + sha1 for path, size, sha1 in self.files)
        out += number(len(self.parts))
        for parameters, size in self.parts:
            out += b"\0" if parameters is None else b"\1" + b"".join(number(n) for n in parameters)
            out += number(size)
        for add, copy, skip in self.instructions:
            out += number(add) + number(copy) + number(2 * skip if skip >= 0 else -2 * skip - 1)
        return out + self.behind

    def pack(self, control=None):
        streams = [zlib.compress(s, 9) for s in (control or self.control(), self.difference, self.extra)]
        lengths = struct.pack("<3Q", len(streams[0]), len(streams[1]), len(streams[2]) + self.longer)
        return self.mark + lengths + b"".join(streams) + self.tail


def skip_to(patch, place):
    """Lets the first instruction of a patch that begins with a copy lead elsewhere."""
    patch.instructions[0][2] = place


def damaged_stream(patch, which, cut):
    """A stream whose last byte, of the checksum, is another or missing."""
    data = bytearray(patch.pack())
    end = 32 + sum(struct.unpack_from("<3Q", data, 8)[: which + 1])
    data[end - 1] ^= 1
    if cut:
        del data[end - 1]
        struct.pack_into("<Q", data, 8 + 8 * which, struct.unpack_from("<Q", data, 8 + 8 * which)[0] - 1)
    return bytes(data)


FAULTS = {
    "mark": lambda p: setattr(p, "mark", b"NORVPAT2"), "tail": lambda p: setattr(p, "tail", b"x"),
    "longer": lambda p: setattr(p, "longer", 1), "longest": lambda p: setattr(p, "longer", 2**64 - 1000),
    "other-size": lambda p: setattr(p, "size", p.size + 1),
    "path-up": lambda p: p.files[0].__setitem__(0, "../" + p.files[0][0]),
    "path-absolute": lambda p: p.files[0].__setitem__(0, "/etc/passwd"),
    "path-long": lambda p: p.files[0].__setitem__(0, "a/" * 1501),
    "path-twice": lambda p: p.files.append(p.files[0]),
    "huge-file": lambda p: p.files[0].__setitem__(1, 2**63 - 1),
    "many-files": lambda p: number(p.size) + number(2**40), "many-parts": lambda p: number(p.size) + b"\0" + number(2**40),
    "kind": lambda p: number(p.size) + b"\0\1\2", "level": lambda p: p.parts[0].__setitem__(0, (0, 8, 0)),
    "memory-level": lambda p: p.parts[0].__setitem__(0, (6, 10, 0)),
    "strategy": lambda p: p.parts[0].__setitem__(0, (6, 8, 5)),
    "huge-part": lambda p: p.parts[0].__setitem__(1, 2**62),
    "skip-before": lambda p: skip_to(p, -1), "skip-behind": lambda p: skip_to(p, p.old_size + 1),
    "skip-far": lambda p: skip_to(p, -(2**63)), "add-behind": lambda p: skip_to(p, p.old_size),
    "idle": lambda p: [p.instructions.insert(0, [0, 0, 0]) for _ in range(2)] and None,
    "add-more": lambda p: p.instructions[-1].__setitem__(0, 2**50),
    "copy-more": lambda p: p.instructions[-1].__setitem__(1, p.instructions[-1][1] + 1),
    "no-number": lambda p: b"\xff" * 9 + b"\2", "control-ends": lambda p: p.control()[:-2],
    "difference-ends": lambda p: setattr(p, "difference", p.difference[:-1]),
    "extra-ends": lambda p: setattr(p, "extra", p.extra[:-1]),
    "control-left": lambda p: setattr(p, "behind", b"\0\0\0"),
    "difference-left": lambda p: setattr(p, "difference", p.difference + b"x"),
    "extra-left": lambda p: setattr(p, "extra", p.extra + b"x"),
    "control-sum": lambda p: damaged_stream(p, 0, False), "extra-cut": lambda p: damaged_stream(p, 2, True),
    "makes-more": lambda p: (p.parts.append([(6, 8, 0), 0]), None)[1],
    "makes-less": lambda p: (p.parts[-1].__setitem__(1, p.parts[-1][1] - 1),
                             p.instructions[-1].__setitem__(1, p.instructions[-1][1] - 1),
                             setattr(p, "extra", p.extra[:-1]))[2],
}


def broken(folder, package, fault):
    patch = Patch(folder, package)
    given = FAULTS[fault](patch)
    return given if given and given.startswith(patch.mark) else patch.pack(given)


if __name__ == "__main__":
    what, folder, package = sys.argv[1:4]
    if what == "zip":
        level = int((sys.argv[4:] or [6])[0])
        with zipfile.ZipFile(package, "w", zipfile.ZIP_DEFLATED if level else zipfile.ZIP_STORED, compresslevel=level) as made:
            for path, data in files_of(folder):
                made.writestr(zipfile.ZipInfo(path), data, made.compression, level)
    elif what == "make":
        open(sys.argv[4], "wb").write(Patch(folder, package).pack())
    else:
        os.makedirs(sys.argv[4], exist_ok=True)
        for fault in FAULTS:
            open(os.path.join(sys.argv[4], fault), "wb").write(broken(folder, package, fault))
