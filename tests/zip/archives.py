#!/usr/bin/env python3
"""Writes the archives of the zip tests, right and wrong ones: archives.py FOLDER

FOLDER/lists/NAME.zip       beside it NAME.list: whether it is parsed, and its list of files
FOLDER/contents/NAME.zip    beside it NAME.packed and NAME.content: the bytes of its file "a", as they lie in it and unpacked
FOLDER/NAME.zip             archives for what is asked of them
"""
import os, struct, sys, zlib

LOCAL_EXTRA, CENTRAL_EXTRA = b"\x99\x99\x02\x00xy", b"\x99\x99\x01\x00z"


def deflate(content):
    return zlib.compress(content)[2:-4]


class File:
    """One file of an archive; what is not given is as it should be."""

    def __init__(self, name, data, size, method=8, **given):
        self.name, self.data, self.size, self.method = name, data, size, method
        self.central_size = given.get("central_size", len(data))
        self.local_size = given.get("local_size", len(data))
        self.offset = given.get("offset")
        self.signature = given.get("signature", 0x02014B50)
        self.name_length = given.get("name_length", len(name))
        self.crc = given.get("crc", 0)


def deflated(name, content):
    return File(name, deflate(content), len(content), crc=zlib.crc32(content))


def stored(name, content):
    return File(name, content, len(content), 0)


def archive(*files, comment=b"", total=None, directory_offset=None, comment_length=None):
    body, directory = b"", b""
    for f in files:
        offset = len(body) if f.offset is None else f.offset
        body += struct.pack("<IHHHIIIIHH", 0x04034B50, 20, 0, f.method, 0, f.crc, f.local_size, f.size, len(f.name),
                            len(LOCAL_EXTRA)) + f.name + LOCAL_EXTRA + f.data
        directory += struct.pack("<IHHHHIIIIHHHHHII", f.signature, 20, 20, 0, f.method, 0x526E7931, f.crc,
                                 f.central_size, f.size, f.name_length, len(CENTRAL_EXTRA), 3, 0, 0, 0,
                                 offset) + f.name + CENTRAL_EXTRA + b"why"
    total = len(files) if total is None else total
    return body + directory + struct.pack("<IHHHHIIH", 0x06054B50, 0, 0, total, total, len(directory),
                                          len(body) if directory_offset is None else directory_offset,
                                          len(comment) if comment_length is None else comment_length) + comment


A, B = deflated(b"a.txt", b"a" * 16), stored(b"dir/b", b"bb")
EMPTY = archive()
BOTH = "a.txt 5/16, dir/b 2/2"
CUT = archive(File(b"c", b"cc", 2, 0, signature=0, name_length=0xFFFF), comment=b"!")
LISTS = {
    "no bytes": (b"", False, ""),
    "an empty archive and nothing else": (EMPTY, False, ""),
    "an empty archive after a byte": (b"x" + EMPTY, True, ""),
    "the end record at the first byte": (archive(comment=b"comment"), False, ""),
    "two files": (archive(A, B), True, BOTH),
    "folders and empty files": (archive(stored(b"docs/", b""), A, stored(b"a", b""), File(b"e", b"", 0)), True, "a.txt 5/16"),
    "a folder with contents": (archive(stored(b"docs/", b"x"), B), True, "dir/b 2/2"),
    "no stated contents": (archive(File(b"z", deflate(b"zz"), 0), B), True, "dir/b 2/2"),
    "a comment": (archive(B, comment=b"hello"), True, "dir/b 2/2"),
    "the longest comment": (archive(B, comment=b"c" * 0xFFFF), True, "dir/b 2/2"),
    "a byte more than the longest comment": (archive(B, comment=b"c" * 0x10000, comment_length=0), False, ""),
    "bytes behind the comment": (archive(B, comment=b"hello") + b"x", False, ""),
    "a comment shorter than stated": (archive(B, comment=b"hello", comment_length=6), False, ""),
    "an end record in the comment": (b"x" + archive(B, comment=EMPTY), True, ""),
    "the beginning of one in the comment": (archive(B, comment=b"PK\5\6" + b"c" * 20), True, "dir/b 2/2"),
    "fewer files stated": (archive(A, B, total=1), True, "a.txt 5/16"),
    "more files stated": (archive(A, B, total=3), False, BOTH),
    "no files stated": (archive(A, B, total=0), True, ""),
    "a directory behind the end": (archive(A, directory_offset=0xFFFFFFFF), False, ""),
    "another method": (archive(A, File(b"c", b"cc", 2, 12), B), False, "a.txt 5/16"),
    "stored with two sizes": (archive(A, File(b"c", b"cc", 3, 0), B), False, "a.txt 5/16"),
    "a wrong signature": (archive(File(b"c", b"cc", 2, 0, signature=0)), True, "c 2/2"),
    "a name beyond the archive": (CUT, True, CUT[39 + 46:].decode("latin-1") + " 2/2"),
    "Latin-1 and null bytes": (archive(stored(b"\xfc\0\xdf", b"x")), True, "\xfc\0\xdf 1/1"),
    "sizes above 2 GB": (archive(File(b"c", b"cc", 3000000000, 8, central_size=4000000000)), True, "c -294967296/-1294967296"),
}

TEXT, ZEROS = b"some text some text some text", bytes(5000000)
PACKED = deflate(TEXT)
NO_LENGTH = b"\x4b\x1c\x03\x00"  # fixed codes: "a", then length symbol 286
ENDLESS = archive(File(b"a", b"x" * 200000, 200000, 0, local_size=0xFFFFFFFF))
CONTENTS = {
    "deflated": (archive(deflated(b"a", TEXT)), PACKED, TEXT),
    "stored": (archive(stored(b"a", TEXT)), TEXT, b""),
    "stored, a deflate stream": (archive(stored(b"a", PACKED)), PACKED, TEXT),
    "bytes behind the stream": (archive(File(b"a", PACKED + b"tail", 29)), PACKED + b"tail", TEXT),
    "a data descriptor": (archive(File(b"a", PACKED, 29, local_size=0)), b"", b""),
    "the local size counts": (archive(File(b"a", PACKED, 29, central_size=3)), PACKED, TEXT),
    "a shorter local size": (archive(File(b"a", PACKED, 29, local_size=len(PACKED) - 1)), PACKED[:-1], b""),
    "a local header behind the end": (archive(File(b"a", PACKED, 29, offset=4000)), b"", b""),
    "a size beyond the end": (ENDLESS, ENDLESS[ENDLESS.index(b"xxx"):], b""),
    "a cut off local header": (archive(File(b"a", PACKED, 29, offset=100)), b"", b""),
    "cut off": (archive(File(b"a", PACKED[:-3], 29)), PACKED[:-3], b""),
    "another CRC-32": (archive(File(b"a", PACKED, 29, crc=1)), PACKED, TEXT),
    "a length that means nothing": (archive(File(b"a", NO_LENGTH, 259)), NO_LENGTH, b""),
    "damaged": (archive(File(b"a", b"\7" + PACKED, 29)), b"\7" + PACKED, b""),
    "a size too small": (archive(File(b"a", PACKED, 1)), PACKED, TEXT),
    "a size too large": (archive(File(b"a", PACKED, 0xFFFFFFFF)), PACKED, TEXT),
    "much more than stated": (archive(File(b"a", deflate(ZEROS), 1)), deflate(ZEROS), ZEROS),
    "more than one window": (archive(deflated(b"a", ZEROS), deflated(b"b", TEXT)), deflate(ZEROS), ZEROS),
}

NUMBERED = [stored(b"n%d" % (i * 7919 % 300), b"%d" % i) for i in reversed(range(300))]
ALIKE = [stored(n, c) for n, c in ((b"same", b"1"), (b"Same", b"2"), (b"same", b"3"), (b"\0b", b"4"), (b"\0a", b"5"), (b"\xfc", b"6"))]
ARCHIVES = {
    "names": archive(*NUMBERED, *ALIKE),
    "stored": archive(stored(b"a", b"1")),
    "outside": archive(File(b"a", b"1", 1, 0, offset=0xFFFFFFF0), total=1),
    "deflated": archive(deflated(b"name", b"content")),
}


def main(folder):
    def write(name, content):
        path = os.path.join(folder, name)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "wb") as file:
            file.write(content)

    for name, (content, is_parsed, listed) in LISTS.items():
        write(f"lists/{name}.zip", content)
        write(f"lists/{name}.list", f"{is_parsed} {listed}".encode())
    for name, (content, packed, unpacked) in CONTENTS.items():
        write(f"contents/{name}.zip", content)
        write(f"contents/{name}.packed", packed)
        write(f"contents/{name}.content", unpacked)
    for name, content in ARCHIVES.items():
        write(f"{name}.zip", content)


main(sys.argv[1])
