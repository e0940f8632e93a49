"""Makes the archives that the benchmark reads: make_archives.py FOLDER"""

import random
import sys
import zipfile

WORDS = """the plugin service update feature version archive window printer manager folder a of to in is and for with that
name value size hash method source entry default enabled locale message""".split()


def prose(rng, size):
    """Text that packs about as well as source code and documents do."""
    parts, length = [], 0
    while length < size:
        word = rng.choice(WORDS) if rng.random() < 0.8 else "%x" % rng.getrandbits(24)
        parts.append(word + ("\n" if rng.random() < 0.1 else " "))
        length += len(parts[-1])
    return "".join(parts).encode()[:size]


def program(rng, size):
    """Bytes that pack about as well as a program does: short pieces that come again, and others that do not."""
    pieces = [rng.randbytes(rng.randint(3, 12)) for _ in range(600)]
    out = bytearray()
    while len(out) < size:
        out += rng.choice(pieces) if rng.random() < 0.7 else rng.randbytes(4)
    return bytes(out[:size])


def main(folder):
    rng = random.Random(20)
    with zipfile.ZipFile(folder + "/many.zip", "w", zipfile.ZIP_DEFLATED) as archive:
        for i in range(10000):
            name = "plugins/Plugin%03d-1.02.003/%s/file%05d.txt" % (i // 50, ("ts", "icons", "docs", "scripts")[i % 4], i)
            archive.writestr(name, prose(rng, rng.randint(600, 2000)))
    with zipfile.ZipFile(folder + "/large.zip", "w", zipfile.ZIP_DEFLATED) as archive:
        archive.writestr("docs/manual.txt", prose(rng, 2_000_000))
        archive.writestr("bin/program.so", program(rng, 2_000_000))


main(sys.argv[1])
