#!/bin/sh
# Does what a reader of a page of docs/ does, from top to bottom: run-page.sh PAGE PREFIX FOLDER
#
#   a block below **`path`**           is written to that file
#   a block ```sh                      is run, all of them in one shell
#   a block ```text                    holds lines that the shell block before it must have printed
#   a block below **made:** `path`     is what that file must hold by then
set -eu
page=$1
NORVALE=$2
folder=$3
export NORVALE

# the lines of the script that a reader's hands would be
script() {
    awk '
        /^\*\*`.*`\*\*$/        { split($0, part, "`"); file = part[2]; next }
        /^\*\*made:\*\* `.*`$/  { split($0, part, "`"); made = part[2]; next }
        /^```/ && !inside {
            inside = 1
            if (file != "")           { print "put \"" file "\" <<'"'END_OF_BLOCK'"'"; close_with = "END_OF_BLOCK" }
            else if (made != "")      { print "holds \"" made "\" <<'"'END_OF_BLOCK'"'"; close_with = "END_OF_BLOCK" }
            else if ($0 == "```text") { print "printed <<'"'END_OF_BLOCK'"'"; close_with = "END_OF_BLOCK" }
            else if ($0 == "```sh")   { print "{ # run"; is_shell = 1; close_with = "} >\"$output\" 2>&1" }
            else                      { print "cat >/dev/null <<'"'END_OF_BLOCK'"'"; close_with = "END_OF_BLOCK" }
            file = made = ""
            next
        }
        /^```$/ && inside { print close_with; inside = is_shell = 0; next }
        inside {
            print
            if (is_shell && /QUIT/) print "wait $!"
        }' "$page"
}

put() {
    mkdir -p "$(dirname "$1")"
    cat >"$1"
}

holds() {
    diff -u - "$1"
}

printed() {
    while IFS= read -r line; do
        grep -qxF -e "$line" "$output" || { echo "not printed: $line"; exit 1; }
    done
}

rm -rf "$folder"
mkdir -p "$folder"
script >"$folder/page.sh"
cd "$folder"
output=$PWD/output
XDG_RUNTIME_DIR=$(mktemp -d)
export XDG_RUNTIME_DIR
exec 3>&1
trap 'status=$?; kill $(jobs -p) 2>/dev/null || true; rm -rf "$XDG_RUNTIME_DIR"; [ $status = 0 ] || cat "$output" >&3; exit $status' EXIT
. ./page.sh
echo "$(grep -c '^put ' "$folder/page.sh") files written, $(grep -c '^{ # run' "$folder/page.sh") shell blocks run, $(grep -c '^printed ' "$folder/page.sh") outputs as shown"
