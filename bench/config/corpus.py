"""Makes plugins out of real libraries in two versions: corpus.py FOLDER

The libraries are those of STEMS in the Debian archive that the machine knows, each in the two newest versions that it
offers (one of the stable release and one of its security updates, as a rule); what it has in one version only is left
out. Packages are kept in FOLDER/packages, so that a second run asks the network for nothing. FOLDER/NAME/old and
FOLDER/NAME/new become plugin folders, a manifest and the package's libraries.

Prints "NAME PACKAGE OLD NEW" for each; what is missing, and why, stands on the standard error.
"""

import functools
import os
import re
import shutil
import subprocess
import sys

# What desktop programs stand on. Digits of the interface, which change with the release, follow by themselves.
STEMS = """libaom libarchive libcurl libexpat libglib2.0 libgs libmariadb libnss libpng16 libpoppler libpq libpython3
libssl libsystemd libtiff libxml2""".split()

MANIFEST = """<manifest>
  <plugin name="%s" version="%s" runtime_api_version="13">
    <start><library filename="%s" function="create"/></start>
  </plugin>
</manifest>
"""


def said(*command, **options):
    return subprocess.run(command, check=True, text=True, stdout=subprocess.PIPE, **options).stdout


def compare(one, other):
    return -1 if subprocess.call(["dpkg", "--compare-versions", one, "lt", other]) == 0 else 1


def offered():
    """By the packages of each stem that can be had: their versions, the oldest first."""
    names = {stem: re.compile(re.escape(stem) + r"[0-9.-]*(t64)?") for stem in STEMS}
    packages = [name for name in said("apt-cache", "pkgnames").split() if any(p.fullmatch(name) for p in names.values())]
    found = {name: set() for name in packages}
    lines = said("apt-cache", "madison", *packages).splitlines() if packages else []
    for line in lines:
        name, version, place = (field.strip() for field in line.split("|"))
        if place.endswith(" Packages"):
            found[name].add(version)
    order = functools.cmp_to_key(compare)
    return {stem: {name: sorted(found[name], key=order) for name in packages if pattern.fullmatch(name)}
            for stem, pattern in names.items()}


def fetched(packages, package, version):
    name = "%s_%s.deb" % (package, version.replace(":", "%"))
    path = os.path.join(packages, name)
    if not os.path.exists(path):
        work = os.path.join(packages, "arriving")
        shutil.rmtree(work, ignore_errors=True)
        os.makedirs(work)
        said("apt-get", "-qq", "-o", "APT::Sandbox::User=root", "download", "%s=%s" % (package, version), cwd=work)
        os.rename(os.path.join(work, os.listdir(work)[0]), path)
    return path


def libraries(folder):
    """The paths of the libraries by their names without their versions, "libssl.so"."""
    found = {}
    for place, _, names in os.walk(folder):
        for name in names:
            path = os.path.join(place, name)
            if ".so" in name and not os.path.islink(path) and open(path, "rb").read(4) == b"\x7fELF":
                found[name.partition(".so")[0] + ".so"] = path
    return found


def make_plugin(deb, folder, name, version):
    unpacked = folder + ".deb"
    shutil.rmtree(unpacked, ignore_errors=True)
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    said("dpkg-deb", "-x", deb, unpacked)
    found = libraries(unpacked)
    for library, path in found.items():
        shutil.move(path, os.path.join(folder, library))
    with open(os.path.join(folder, "Manifest.xml"), "w") as manifest:
        manifest.write(MANIFEST % (name, version, min(found)[:-len(".so")]))
    shutil.rmtree(unpacked)


def main(folder):
    packages = os.path.join(folder, "packages")
    os.makedirs(packages, exist_ok=True)
    for stem, choice in offered().items():
        try:
            # Of several releases of its interface the one with the most news.
            package, found = max(choice.items(), key=lambda item: len(item[1]), default=(stem, []))
            if len(found) < 2:
                print("corpus: %s is there in %d version%s" % (package, len(found), "s"[len(found) == 1:]), file=sys.stderr)
                continue
            name = "".join(filter(str.isalnum, stem)).capitalize()
            for version, kind, number in zip(found[-2:], ("old", "new"), ("1.0.0", "1.1.0")):
                make_plugin(fetched(packages, package, version), os.path.join(folder, name, kind), name, number)
            print(name, package, *found[-2:], flush=True)
        except (OSError, ValueError, subprocess.CalledProcessError) as error:
            print("corpus: %s: %s" % (stem, error), file=sys.stderr)


main(sys.argv[1])
