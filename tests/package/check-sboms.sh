#!/bin/sh
# Holds every package *.TYPE in FOLDER against its list of contents: check-sboms.sh PYTHON TYPE FOLDER
set -eu
here=$(cd "$(dirname "$0")" && pwd)
for package in "$3"/*."$2"; do
    rm -rf "$3/sbom"
    case $2 in
        deb) dpkg-deb -x "$package" "$3/sbom" ;;
        zip) unzip -q "$package" -d "$3/sbom" ;;
    esac
    "$1" "$here/check_sbom.py" "$package" "$3/sbom"
done
