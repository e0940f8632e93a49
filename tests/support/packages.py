#!/usr/bin/env python3
"""Makes plugin packages and repositories for tests, right ones and defective ones.

packages.py package FILE NAME VERSION [FAULT]
packages.py repository FOLDER 'NAME VERSION [CORE]' FEATURE...

A FEATURE is text such as 'Core 1.0: A 1.0, B 1.2 !no-manifest; Base, Tools': name and version, plugins with their
faults, and the features it depends on. Of a plugin also "!service=NAME", "!needs=NAME" and "!build=TEXT", for what differs
under one version, and "!qt=MAJOR" for a library that needs that Qt. A plugin's command lines append to the file that JOURNAL names (on
Windows with the program that JOURNAL_WRITER names).
"""
import hashlib, os, struct, sys, zlib

FILE, LINK, DEVICE = 0o100644, 0o120777, 0o020666
MANIFEST = """<?xml version="1.0" encoding="utf-8"?>
<manifest><plugin name="{name}" version="{version}" runtime_api_version="{api}">
<start><library filename="it" function="create"/><params>{params}</params></start><services>{services}</services><dependencies>{needs}</dependencies>
<deployment><install>{install}</install><uninstall>{uninstall}</uninstall></deployment></plugin></manifest>
"""


# Under Wine this script runs as a program of the machine, but makes packages for Windows.
IS_WINDOWS = os.name == "nt" or "WINEPREFIX" in os.environ
LIBRARY = "it.dll" if IS_WINDOWS else "it.so"


def command(word, condition=""):
    if IS_WINDOWS:
        return (f'<cmdline program="$(env.JOURNAL_WRITER)" condition="{condition}"><param>{word}</param>'
                '<param>$(PluginName)</param><param>$(PluginVersion)</param></cmdline>')
    return (f'<cmdline program="sh" condition="{condition}"><param>-c</param>'
            f'<param>echo {word} $(PluginName) $(PluginVersion) &gt;&gt; "$(env.JOURNAL)"</param></cmdline>')


def manifest(name, version, fault):
    install, uninstall = command("install", "OSBitness() == 64") + command("never", "isWin7()"), command("uninstall")
    words = fault.split()
    named = lambda key: [word[len(key):] for word in words if word.startswith(key)]
    if fault == "failing-command":
        install = '<cmdline program="%s"/>' % ("$(env.JOURNAL_WRITER)" if IS_WINDOWS else "false") + install
    if fault == "no-such-program":
        install = '<cmdline program="$(PluginDir)/none"/>' + install
    if "silent" in words:
        install = uninstall = ""
    services = named("service=")
    return MANIFEST.format(name=name, version=version, install=install, uninstall=uninstall,
                           api=12 if fault == "api" else 13, params="{" if fault == "params" else "{}",
                           services="".join(f"<service>{s}</service>" for s in services),
                           needs="".join(f"<dependency>{n}</dependency>" for n in named("needs="))).encode()


class Entry:
    """A file of an archive, with every field of its records at hand."""

    def __init__(self, name, content=b"", mode=FILE, method=8, **fields):
        packed = content if method == 0 else zlib.compress(content, 9)[2:-4]
        self.name, self.packed = name.encode("latin-1"), packed
        self.f = dict(method=method, flags=0, csize=len(packed), usize=len(content), mode=mode, crc=zlib.crc32(content),
                      local_name=self.name, local_csize=None, offset=None, tail=b"")
        self.f.update(fields)


def described(name, content, signature=b"PK\7\x08", **fields):
    """A file whose sizes stand behind its data."""
    f = Entry(name, content, **fields).f
    tail = signature + struct.pack("<III", f["crc"], f["csize"], f["usize"])
    return Entry(name, content, flags=8, local_csize=0, **{"tail": tail, **fields})


def archive(entries):
    body, directory, places = b"", b"", {}
    for e in entries:
        f, offset = e.f, len(body)
        places[e.name.decode("latin-1")] = offset
        if isinstance(f["offset"], tuple):  # so many bytes into another entry
            f["offset"] = places[f["offset"][0]] + f["offset"][1]
        body += struct.pack("<IHHHIIIIHH", 0x04034B50, 20, f["flags"], f["method"], 0, f["crc"],
                            f["csize"] if f["local_csize"] is None else f["local_csize"], f["usize"],
                            len(f["local_name"]), 0) + f["local_name"] + e.packed + f["tail"]
        directory += struct.pack("<IHHHHIIIIHHHHHII", 0x02014B50, 3 << 8 | 20, 20, f["flags"], f["method"], 0, f["crc"],
                                 f["csize"], f["usize"], len(e.name), 0, 0, 0, 0, f["mode"] << 16,
                                 offset if f["offset"] is None else f["offset"]) + e.name
    return body + directory + struct.pack("<IHHHHIIH", 0x06054B50, 0, 0, len(entries), len(entries), len(directory),
                                          len(body), 0)


EXTRA = {
    "absolute": [Entry("/etc/x", b"x")], "up": [Entry("../x", b"x")], "up-inside": [Entry("a/../../x", b"x")],
    "backslash": [Entry("a\\x", b"x")], "drive": [Entry("C:x", b"x")], "control": [Entry("a\nb", b"x")],
    "device-name": [Entry("doc/nul.txt", b"x")], "empty-step": [Entry("a//x", b"x")], "no-name": [Entry("", b"x")],
    "long": [Entry("a/" * 20 + "b" * 980, b"x")], "deep": [Entry("a/" * 40 + "x", b"x")],
    "case": [Entry("MANIFEST.xml", b"x")], "folder-case": [Entry("Doc/y", b"x")],
    "twice": [Entry("doc/read.me", b"x")], "file-and-folder": [Entry("doc", b"x")],
    "folder-in-file": [Entry(LIBRARY + "/x", b"x")],
    "link": [Entry("l", b"/etc", LINK)], "device": [Entry("d", b"x", DEVICE)],
    "full-folder": [Entry("full/", b"x", 0o040755)], "folder-by-mode": [Entry("f", b"x", 0o040755)],
    "encrypted": [Entry("e", b"x", flags=1)], "method": [Entry("m", b"x", method=12)],
    "stored-sizes": [Entry("s", b"abc", method=0, usize=2)],
    "descriptors": [described("d", b"x"), described("e", b"yy", b""), described("doc/s", b"zzz", method=0)],
    "no-descriptor": [Entry("d", b"x", flags=8, local_csize=0)],
    "descriptor-size": [described("d", b"x", tail=struct.pack("<IIII", 0x08074B50, zlib.crc32(b"x"), 3, 2))],
    "names": [Entry("doc/a..b.txt", b"x"), Entry("..data/x", b"x")], "local-name": [Entry("n", b"x", local_name=b"other")],
    "local-size": [Entry("n", b"xyz", local_csize=1)],
    "overlap": [Entry("outer", archive([Entry("in", b"x")]), method=0), Entry("in", b"x", offset=("outer", 35))],
    "outside": [Entry("o", b"x", offset=1 << 20)], "too-long-data": [Entry("o", b"x", csize=1 << 20)],
    "too-small": [Entry("t", b"0123456789", usize=5)], "too-large": [Entry("t", b"0123456789", usize=50)],
}
LARGE = {"bomb": ["bomb", 8 << 20], "sum": ["r0", 600000, "r1", 600000, "r2", 600000, "r3", 600000]}


def library_of(needed):
    """As much of a library as tells that it needs another one; ELF, which is read on every system."""
    head, names = 64 + 2 * 56, 64 + 2 * 56 + 48
    segment = lambda kind, begin, end: struct.pack("<IIQQQQQQ", kind, 4, begin, begin, begin, end - begin, end - begin, 8)
    return (b"\x7fELF\2\1\1" + bytes(9) + struct.pack("<HHIQQQIHHHHHH", 3, 62, 1, 0, 64, 0, 0, 64, 56, 2, 0, 0, 0) +
            segment(1, 0, names + len(needed) + 2) + segment(2, head, names) + struct.pack("<6Q", 1, 1, 5, names, 0, 0) +
            b"\0" + needed + b"\0")


def package(name, version, fault=""):
    shown = {"other-name": ("Other", version), "other-version": (name, "9.9.9"), "unsafe-name": ("../up", version)}
    xml = manifest(*shown.get(fault, (name, version)), fault)
    build = "".join(word[6:] for word in fault.split() if word.startswith("build="))
    library = f"library of {name} {version}{build}".encode() * 40
    for word in fault.split():
        if word.startswith("qt="):
            library = library_of(b"libQt%bCore.so.%b" % (word[3:].encode(), word[3:].encode()))
    if fault == "bad-xml":
        xml = xml[:-5]
    entries = [Entry("manifest.xml" if fault == "small-letters" else "Manifest.xml", xml),
               Entry("doc/", mode=0o040755), Entry("doc/read.me", f"{name} {version}\n".encode() * 9),
               Entry(LIBRARY, library, 0o100755, method=0),
               Entry("empty", b"")]
    large = LARGE.get(fault, [])
    entries += [Entry(large[i], bytes(large[i + 1])) for i in range(0, len(large), 2)]
    data = archive([e for e in entries if fault != "no-manifest" or b"anifest" not in e.name] + EXTRA.get(fault, []))
    if fault == "damaged":
        data = data.replace(entries[2].packed, bytes(len(entries[2].packed)))
    directory, end = data[:-22], data[-22:]
    count = struct.unpack_from("<H", end, 10)[0] - 1
    return {"no-archive": b"no archive at all, only text", "cut-off": data[: len(data) // 2], "tail": data + b"x",
            "zip64": directory + struct.pack("<IIQI", 0x07064B50, 0, 0, 1) + end,
            "zip64-offset": directory + end[:16] + b"\xff\xff\xff\xff" + end[20:],
            "disks": directory + end[:4] + b"\1" + end[5:],
            "more-records": directory + end[:8] + struct.pack("<HH", count, count) + end[12:]}.get(fault, data)


def print_form(version):
    numbers = [int(n) for n in version.split(".")] + [0, 0]
    return "%d.%02d.%03d" % tuple(numbers[:3])


def repository(folder, head, features):
    name, version, *core = head.split()
    xml = f'<repository name="{name}" version="{version}"' + (f' core_version="{core[0]}"' if core else "") + ">\n"
    for text in features:
        text, _, needs = text.partition(";")
        head, _, plugins = text.partition(":")
        xml += '<feature name="%s" version="%s" active="true"><dependencies>' % tuple(head.split())
        xml += "".join(f'<feature name="{need.strip()}"/>' for need in needs.split(",") if need.strip())
        xml += "</dependencies><plugins>\n"
        for words in (plugin.split() for plugin in plugins.split(",") if plugin.strip()):
            fault = " ".join(word[1:] for word in words[2:])
            path = os.path.join(folder, f"{words[0]}-{print_form(words[1])}.zip")
            data = package(words[0], words[1], fault)
            if fault == "elsewhere":
                path = os.path.join(folder, "pool", words[0] + ".bin")
                os.makedirs(os.path.dirname(path), exist_ok=True)
            if fault != "missing":
                open(path, "wb").write(data)
            digest = hashlib.sha1(data + (b"x" if fault == "hash" else b"")).hexdigest()
            digest = "?" if fault == "no-hash" else digest
            sources = ["none/x", os.path.relpath(path, folder)] if fault == "elsewhere" else [os.path.basename(path)]
            xml += f'<plugin name="{words[0]}" version="{words[1]}" size="{len(data)}">'
            xml += "".join(f"<source>{source}</source>" for source in sources)
            xml += f'<hash method="sha1">{digest}</hash></plugin>\n'
        xml += "</plugins></feature>\n"
    open(os.path.join(folder, "repository.xml"), "w").write(xml + "</repository>\n")


if __name__ == "__main__":
    if sys.argv[1] == "package":
        open(sys.argv[2], "wb").write(package(*sys.argv[3:]))
    else:
        os.makedirs(sys.argv[2], exist_ok=True)
        repository(sys.argv[2], sys.argv[3], sys.argv[4:])
