"""check_sbom.py PACKAGE FOLDER: holds PACKAGE.spdx.json against SPDX 2.3 and against the package, which is unpacked in FOLDER."""
import hashlib
import json
import pathlib
import re
import sys

package, folder = (pathlib.Path(argument) for argument in sys.argv[1:])
document = json.loads(pathlib.Path(f"{package}.spdx.json").read_text("utf-8"))
faults = []


def expect(is_so, text):
    if not is_so:
        faults.append(text)


def sums(data):
    return [{"algorithm": name.upper(), "checksumValue": hashlib.new(name, data).hexdigest()} for name in ("sha1", "sha256")]


def fields(where, what, required):
    for name in required:
        expect(what.get(name) not in (None, "", []), f"{where} has no {name}")


fields("the document", document, ["SPDXID", "creationInfo", "dataLicense", "documentNamespace", "files", "name", "packages", "relationships"])
expect(document["spdxVersion"] == "SPDX-2.3", "the version")
expect(re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ", document["creationInfo"]["created"]), "the date")

ids = [part["SPDXID"] for part in document["packages"] + document["files"]]
expect(len(ids) == len(set(ids)), "an id stands twice")
for each in ids:
    expect(re.fullmatch(r"SPDXRef-[A-Za-z0-9.-]+", each), f"the id {each}")
kinds = {"DESCRIBES", "CONTAINS", "DEPENDS_ON", "DYNAMIC_LINK", "STATIC_LINK"}
for link in document["relationships"]:
    expect(link["relationshipType"] in kinds, f"the relationship {link}")
    expect(link["spdxElementId"] in ids + ["SPDXRef-DOCUMENT"] and link["relatedSpdxElement"] in ids, f"nobody has the id in {link}")
unlinked = set(ids) - {link["relatedSpdxElement"] for link in document["relationships"]}
expect(not unlinked, f"nothing leads to {unlinked}")

main, *needed = document["packages"]
fields("the package", main, ["checksums", "copyrightText", "downloadLocation", "licenseConcluded", "name", "packageVerificationCode"])
expect(main["checksums"] == sums(package.read_bytes()), "the package's checksums")
expect(main["licenseDeclared"] == "MIT" and re.search(f"[_-]{re.escape(main['versionInfo'])}[_-]", package.name), "licence or version")
for each in needed:
    fields(each["name"], each, ["downloadLocation", "licenseDeclared", "versionInfo"])
if "libnorvale" in package.name or package.suffix == ".zip" and "-dev" not in package.name:
    expect({"QtCore", "libgcrypt", "zlib", "robin-map", "fast_float"} <= {each["name"] for each in needed}, "libraries are missing")

there = {f"./{path.relative_to(folder)}": path for path in folder.rglob("*") if path.is_file() and not path.is_symlink()}
listed = {each["fileName"]: each["checksums"] for each in document["files"]}
expect(set(there) == set(listed), f"files differ: {set(there) ^ set(listed)}")
for name in there.keys() & listed.keys():
    expect(listed[name] == sums(there[name].read_bytes()), f"the checksums of {name}")
code = hashlib.sha1("".join(sorted(each[0]["checksumValue"] for each in listed.values())).encode()).hexdigest()
expect(main["packageVerificationCode"]["packageVerificationCodeValue"] == code, "the verification code")

for fault in faults:
    print(f"{package.name}: {fault}")
sys.exit(1 if faults else 0)
