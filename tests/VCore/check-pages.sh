#!/usr/bin/env bash
# check-pages.sh FOLDER PROGRAM...: holds the manual pages and completions in FOLDER against the tools that read them, and
# against what the programs say they understand.
set -uo pipefail
folder=$1 fails=0
shift

complain() { echo "$*" >&2; fails=1; }

# clean COMMAND...: it says nothing. What is not installed is passed over.
clean() {
    local said
    command -v "$1" >/dev/null || return 0
    said=$("$@" 2>&1 >/dev/null) && [ -z "$said" ] || complain "$*: $said"
}

# offered PROGRAM WORD...: what bash offers for the last word.
offered() (
    source "$folder/bash/$1" && COMP_WORDS=("$@") COMP_CWORD=$(($# - 1)) && "_$1" && echo "${COMPREPLY[*]}"
)

# offers EXPECTED PROGRAM WORD...
offers() {
    local expected=$1 found
    shift
    found=$(offered "$@")
    [ "$found" = "$expected" ] || complain "bash offers \"$found\" for: $*"
}

for program in "$@"; do
    name=$(basename "$program")
    clean man --warnings -E UTF-8 -l -Tutf8 -Z "$folder/man/$name.1"
    if command -v mandoc >/dev/null; then # a page without a date is the same whenever it is made
        said=$(mandoc -T lint -W warning "$folder/man/$name.1" | grep -v 'missing date')
        [ -z "$said" ] || complain "$said"
    fi
    clean bash -n "$folder/bash/$name"
    clean zsh -n "$folder/zsh/_$name"
    clean fish -n "$folder/fish/$name.fish"
    for option in $("$program" --help-all | grep -oE '(^|[ ,])--[a-z][a-z-]+' | tr -d ' ,' | sort -u); do
        for page in "man/$name.1" "bash/$name" "zsh/_$name" "fish/$name.fish"; do
            word=${option#--}
            [[ $page != man* ]] || word=${word//-/\\\\-}
            grep -q -- "$word" "$folder/$page" || complain "$page lacks $option"
        done
    done
done
offers "--update --update-sites" VCore --up
offers "always" VCore --color = al
offers "--log" VCore --check --lo
offers "" VCore --check --categ
offers "$folder/man" VCore --log "$folder/ma"
offers "lint" norvale li
offers "--feature --feature-version" norvale site add --fe
offers "init" norvale site keys in
if command -v fish >/dev/null; then
    found=$(fish --no-config -c "source '$folder/fish/VCore.fish'; complete -C 'VCore --color '" | cut -f1 | tr '\n' ' ')
    [ "$found" = "always auto never " ] || complain "fish offers \"$found\""
fi
exit $fails
