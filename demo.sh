#!/usr/bin/env bash
# Builds Norvale, lays out the example suite in a folder of its own, runs it under VCore, and shows what happened.
# Installs what it needs from Debian's packages. Everything it writes lies under build/demo.
set -euo pipefail
. "$(dirname "$0")/.ci/setup.sh"

demo="$root/build/demo"
host="$root/build/dev/host/VCore"

if [ -t 1 ]; then bold=$(tput bold || true) dim=$(tput dim || true) plain=$(tput sgr0 || true); else bold= dim= plain=; fi

title() { printf '\n%s== %s%s\n\n' "$bold" "$*" "$plain"; }
say() { printf '%s\n' "$*"; }
indented() { sed 's/^/   /'; }

# show COMMAND...: prints the command as a person would type it, then what it answers.
show() {
    local argument
    printf '%s$ VCore' "$dim"
    for argument in "$@"; do
        case $argument in *[!A-Za-z0-9/_,.-]*) printf " '%s'" "$argument" ;; *) printf ' %s' "$argument" ;; esac
    done
    printf '%s\n' "$plain"
    "$host" "$@" 2>/dev/null | indented
}

# Settings, data and sockets of the demo stay in its folder: the machine's own are not touched.
lay_out() {
    rm -rf "$demo"
    mkdir -p "$demo"/{machine/Varkel,user,data,run}
    chmod 700 "$demo/run"
    cp -r "$root/build/dev/suite" "$demo/suite"
    cat >"$demo/machine/Varkel/Pelmora.conf" <<CONF
[General]
InstallDir=$demo/suite

[ConfigMgr]
Locale=de_DE
CONF
    export XDG_CONFIG_DIRS="$demo/machine" XDG_CONFIG_HOME="$demo/user" XDG_DATA_HOME="$demo/data" XDG_RUNTIME_DIR="$demo/run"
    export QT_QPA_PLATFORM=offscreen
}

start_host() {
    "$host" --categories base,ui --log "$demo/vcore.log" --trace "$demo/trace.json" >"$demo/host.out" 2>"$demo/host.err" &
    host_pid=$!
    trap 'kill -TERM $host_pid 2>/dev/null || true' EXIT
    if ! "$host" --wait --timeout 20 --call Settings keys >/dev/null 2>&1; then
        cat "$demo/host.err" >&2
        say "The host did not start." >&2
        exit 1
    fi
}

stop_host() {
    kill -TERM "$host_pid"
    local status=0
    wait "$host_pid" || status=$?
    trap - EXIT
    say "VCore ended with exit code $status."
    [ "$status" = 0 ]
}

# timeline CATEGORY...: the spans of the start-up as bars on one scale.
timeline() {
    jq -r --args '(.traceEvents[] | select(.name == "start the suite") | .ts + .dur) as $limit | .traceEvents[] |
        select(.ts < $limit and (.cat as $c | $ARGS.positional | index($c))) | [.ts, .dur, .name] | @tsv' "$@" \
        <"$demo/trace.json" | sort -n | awk -F'\t' '
        { start[NR] = $1; took[NR] = $2; name[NR] = $3; if ($1 + $2 > end) end = $1 + $2; if (NR == 1) first = $1 }
        END {
            for (i = 1; i <= NR; i++) {
                left = int((start[i] - first) * 50 / (end - first + 1)); width = int(took[i] * 50 / (end - first + 1)) + 1
                bar = sprintf("%*s", left, ""); for (k = 0; k < width && left + k < 52; k++) bar = bar "█"
                printf "   %-30s %8.2f ms  %s\n", name[i], took[i] / 1000, bar
            }
        }'
}

spans() { jq -r --arg c "$1" '[.traceEvents[] | select(.cat == $c)] | sort_by(.ts) | map(.name | ltrimstr($c + " ")) | join(" -> ")' <"$demo/trace.json"; }

title "Building"
# shellcheck disable=SC2086
need $packages_build $packages_demo
targets="VCore suite" build dev
lay_out
say "The suite lies in build/demo/suite:"
(cd "$demo/suite" && find . -type f | sort | indented)

title "What is installed, before anything runs"
show --list

title "Starting the suite"
start_host
say "VCore runs with the load categories base and ui. The plugins started in the order that their manifests demand:"
show --list

title "Calling services by name"
show --call Settings setValue colour "sea green"
show --call Settings value colour
say "The locale of this machine is de_DE, so the greeter speaks German:"
show --call Greeter greet Ada
say "WordCount was not loaded at the start. The first call of its service loads it:"
show --call WordCount words "Plugins load when somebody asks for them."

title "Sending messages to the plugins' handlers"
show --send '{"command":"GREET","name":"Grace","request":1}'
show --send '{"command":"COUNT","text":"One two three. Four.","request":2}'
say "An event: the heartbeat listens to the settings and beats faster."
show --call Settings setValue Heartbeat/Interval 200
sleep 0.7

title "Who called whom, and what was heard: the plugin Journal"
"$host" --json --call Journal last 100 2>/dev/null | jq -r '.[]' | sed -E 's/^[0-9-]+ //' | indented

title "Stopping"
stop_host
say
say "Started:  $(spans start)"
say "Stopped:  $(spans stop)"

title "Where the time went"
timeline "read manifest" "load library" start
say
say "The same as a timeline to zoom into: load build/demo/trace.json in a trace viewer, such as https://ui.perfetto.dev"
say "or about:tracing in Chromium. The log is in build/demo/vcore.log, the settings in build/demo/data."

if [ "$(spans start)" != "$(jq -r '[.traceEvents[] | select(.cat == "stop")] | sort_by(.ts) | reverse | map(.name | ltrimstr("stop ")) | join(" -> ")' <"$demo/trace.json")" ]; then
    say "The stop is not the start in reverse." >&2
    exit 1
fi
