#!/usr/bin/env bash
# Builds Norvale, installs the example suite in a folder of its own, runs it under VCore, publishes its second release on a
# signed site of a web server of its own, updates to it, refuses what was tampered with, follows a new key, and removes
# everything; and shows all that. Installs what it needs from Debian's
# packages. Everything it writes lies under build/.
#
#   ./demo.sh               on this machine
#   ./demo.sh --qt6         the same, built with Qt 6
#   ./demo.sh --windows     the product for 64-bit Windows, under Wine
#
# Qt for Windows: ../shared/qt5-win64.tar.xz, else the tree that QT_WIN64 names.
set -euo pipefail
. "$(dirname "$0")/.ci/setup.sh"

# What differs: where things lie, how a program is run, how settings are laid out, how progress is shown.
case "$*" in
"") preset=dev && . "$root/.ci/demo-linux.sh" ;;
--qt6) preset=qt6 && . "$root/.ci/demo-linux.sh" ;;
--windows) . "$root/.ci/demo-windows.sh" ;;
*)
    sed -nE '2,/^set/s/^# ?//p' "$0"
    [ "$*" = --help ] || exit 2
    exit
    ;;
esac
host_pid='' web_pid=''

if [ -t 1 ]; then bold=$(tput bold || true) dim=$(tput dim || true) plain=$(tput sgr0 || true); else bold='' dim='' plain=''; fi

title() { printf '\n%s== %s%s\n\n' "$bold" "$*" "$plain"; }
say() { printf '%s\n' "$*"; }

# What is shown of a program or a path. Programs of Windows end their lines with CR and LF.
indented() { sed 's/\r$//; s/^/   /'; }
short() { printf '%s' "${1#"$root"/}"; }

# What the demo promises: must CLAIM COMMAND... ends it when the command fails.
must() {
    local claim=$1
    shift
    "$@" >/dev/null 2>&1 || { say "This does not hold: $claim" >&2; exit 1; }
}

# typed WORD...: prints a command as a person would type it.
typed() {
    local word
    printf '%s$' "$dim"
    for word in "$@"; do
        case $word in *[!A-Za-z0-9/_,.:=-]*) printf " '%s'" "$word" ;; *) printf ' %s' "$word" ;; esac
    done
    printf '%s\n' "$plain"
}

# show ARGUMENT...: what VCore answers. answer ARGUMENT...: the same for a check of the demo.
show() { typed VCore "$@"; answer "$@" | indented; }
answer() { "${vcore[@]}" "$@" 2>/dev/null | tr -d '\r'; }

# show_tool ARGUMENT...: what the program for publishers answers.
show_tool() { typed norvale "$@"; "${norvale[@]}" "$@" | indented; }

# show_in_lines ARGUMENT...: VCore where no terminal can be had, with the lines that stand for its bar.
show_in_lines() {
    say "No terminal can be had here, so lines stand for the bar:"
    typed VCore "$@"
    "${vcore[@]}" "$@" 2>&1 | tee progress | indented
    must "lines showed how far it was" grep -q '100 % of' progress
}

lay_out() {
    leave_machine
    rm -rf "$demo"
    mkdir -p "$demo/packages"
    cd "$demo"
    set_up_machine
}

# start_host [OPTION...]: a host that serves.
start_host() {
    "${vcore[@]}" "$@" --categories base,ui --log vcore.log --trace trace.json >host.out 2>host.err &
    host_pid=$!
    if ! answer --wait --timeout 30 --call Settings keys >/dev/null; then
        cat host.err >&2
        say "The host did not start." >&2
        exit 1
    fi
}

stop_host() {
    local status=0
    show --call VCore quit
    wait "$host_pid" || status=$?
    host_pid=''
    say "VCore ended with exit code $status."
    [ "$status" = 0 ]
}

clean_up() {
    local pid
    for pid in $host_pid $web_pid; do
        kill -TERM "$pid" 2>/dev/null || true
        wait "$pid" 2>/dev/null || true
    done
    leave_machine
}

is_served() { (exec 3<>"/dev/tcp/127.0.0.1/$port") 2>/dev/null; }

# Serves the folder site on a free port, packages no faster than a slow line would.
start_web_server() {
    local patience
    port=$((20000 + RANDOM % 20000))
    while is_served; do port=$((port + 1)); done
    cat >nginx.conf <<CONF
daemon off;
master_process off;
pid "$demo/nginx.pid";
error_log "$demo/web-error.log";
events {}
http {
    access_log "$demo/web-access.log";
    client_body_temp_path "$demo/run/web-body";
    proxy_temp_path "$demo/run/web-proxy";
    fastcgi_temp_path "$demo/run/web-fastcgi";
    uwsgi_temp_path "$demo/run/web-uwsgi";
    scgi_temp_path "$demo/run/web-scgi";
    server {
        listen 127.0.0.1:$port;
        root "$demo/site";
        location ~ \.(zip|delta)$ { limit_rate 150k; }
    }
}
CONF
    PATH=$PATH:/usr/sbin nginx -e "$demo/web-error.log" -c "$demo/nginx.conf" &
    web_pid=$!
    for patience in {1..100}; do
        is_served && return
        kill -0 "$web_pid" 2>/dev/null || break
        sleep 0.1
    done
    cat web-error.log >&2
    say "The web server did not answer after $patience looks at it." >&2
    exit 1
}

# timeline CATEGORY...: the spans of the start-up as bars on one scale.
timeline() {
    jq -r --args '(.traceEvents[] | select(.name == "start the suite") | .ts + .dur) as $limit | .traceEvents[] |
        select(.ts < $limit and (.cat as $c | $ARGS.positional | index($c))) | [.ts, .dur, .name] | @tsv' "$@" \
        <trace.json | sort -n | awk -F'\t' '
        { start[NR] = $1; took[NR] = $2; name[NR] = $3; if ($1 + $2 > end) end = $1 + $2; if (NR == 1) first = $1 }
        END {
            for (i = 1; i <= NR; i++) {
                left = int((start[i] - first) * 50 / (end - first + 1)); width = int(took[i] * 50 / (end - first + 1)) + 1
                bar = sprintf("%*s", left, ""); for (k = 0; k < width && left + k < 52; k++) bar = bar "█"
                printf "   %-30s %8.2f ms  %s\n", name[i], took[i] / 1000, bar
            }
        }'
}

spans() { jq -r --arg c "$1" '[.traceEvents[] | select(.cat == $c)] | sort_by(.ts) | map(.name | ltrimstr($c + " ")) | join(" -> ")' <trace.json; }

trap clean_up EXIT
title "Building"
build_all
lay_out

title "Publishing release 1, and installing it on an empty machine"
for plugin in "$release_1"/plugins/*-*; do must "$plugin is packed" "${norvale[@]}" pack "$plugin" -o packages; done
show_tool site add --feature Core --feature-version 1.0.0 site \
    packages/ZentraSettings-1.00.000.zip packages/Journal-1.00.000.zip packages/Heartbeat-1.00.000.zip
show_tool site add --feature Welcome --feature-version 1.0.0 --depends Core site \
    packages/Greeter-1.00.000.zip packages/WordCount-1.00.000.zip packages/Commands-1.00.000.zip
say "A suite on its installation medium is a copy of the repository in the folder Bootstrap:"
cp -r site/main "$suite/Bootstrap"
show --bootstrap
say "The suite lies in $(short "$suite"):"
(cd "$suite" && find plugins -type f | sort | indented)

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
answer --json --call Journal last 100 | jq -r '.[]' | sed -E 's/^[0-9-]+ //' | indented

title "Stopping"
stop_host
say
say "Started:  $(spans start)"
say "Stopped:  $(spans stop)"

title "Where the time went"
timeline "read manifest" "load library" start
say
say "The same as a timeline to zoom into: load $(short "$demo")/trace.json in a trace viewer, such as https://ui.perfetto.dev"
say "or about:tracing in Chromium. The log is in $(short "$demo")/vcore.log, the settings in $(short "$data")."

must "the stop is the start in reverse" [ "$(spans start)" = "$(jq -r '[.traceEvents[] | select(.cat == "stop")] | sort_by(.ts) | reverse | map(.name | ltrimstr("stop ")) | join(" -> ")' <trace.json)" ]

title "Signing the site, and pinning its root of trust"
show_tool site keys init site --keys keys
show_tool site sign site --keys keys
say "The root goes to the installations on a way that the site has no part in, such as the product's setup:"
show --trust site/tuf/1.root.json

title "Publishing release 2 on a web server"
start_web_server
export NORVALE_SITE_KEYS=keys
say "The greeter has other words, and there are two new features, Goodbye and Sums. All else is as it was."
show_tool pack "$release_2"/plugins/Greeter-2.00.000 -o packages
show_tool pack "$release_2"/plugins/Farewell-1.00.000 -o packages
show_tool pack "$release_2"/plugins/Calculator-1.00.000 -o packages
[ ${#deltas[@]} = 0 ] || say "Who has the old greeter needs only what is new in it, a patch:"
show_tool site add --feature Welcome --feature-version 2.0.0 --repository-version 2.0.0 "${deltas[@]}" site \
    packages/Greeter-2.00.000.zip packages/WordCount-1.00.000.zip packages/Commands-1.00.000.zip
show_tool site add --feature Goodbye --feature-version 1.0.0 --depends Welcome site \
    packages/Farewell-1.00.000.zip
show_tool site add --feature Sums --feature-version 1.0.0 --depends Core site \
    packages/Calculator-1.00.000.zip

title "Updating while release 1 runs"
start_host
show --update-sites "http://127.0.0.1:$port/"
show --check
show --call Greeter greet Alan
say "Somebody who has taken over the server puts a package of his own there, and its hash into the descriptions:"
cp -r site/main kept
calculator=site/main/packages/Calculator-1.00.000.zip
hash=$(sha1sum <$calculator)
printf x | dd of=$calculator bs=1 seek=1000 conv=notrunc status=none
sed -i "s/${hash%% *}/$(sha1sum <$calculator | cut -d' ' -f1)/" site/main/*repository.xml
typed VCore --update Sums
"${vcore[@]}" --update Sums >refused 2>&1 && must "a tampered package is refused" false
grep SHA-256 refused | indented
must "the refusal names the hash" grep -q 'repository\.xml.* SHA-256 is not' refused
rm -r site/main
mv kept site/main
: >web-access.log
say "With what was signed there again:"
show_progress --update Goodbye Sums
must "what was unchanged was not fetched" [ "$(grep -cE 'GET .*\.(zip|delta) ' web-access.log)" = 3 ]
[ ${#deltas[@]} = 0 ] || must "of the greeter a patch was fetched" grep -q 'GET .*/Greeter-2\.00\.000-from-1\.00\.000\.delta' web-access.log
must "release 1 still runs" [ "$(answer --call Greeter greet Kurt)" = "Guten Tag, Kurt!" ]

title "Restarting: release 2 is installed first"
stop_host
start_host
indented <host.out
show --list
show --call Greeter greet Edsger
show --call Farewell sayGoodbye
must "release 2 runs" [ "$(answer --call Greeter greet Barbara)" = "Willkommen, Barbara! Bitte nehmen Sie Platz." ]
must "the settings of release 1 are kept" [ "$(answer --call Settings value colour)" = "sea green" ]
must "the machine follows release 2" grep -q 'Version.*2\.00\.002' <(machine_settings)
must "there is no further update" test "$(answer --check >/dev/null; echo $?)" = 17

title "Replacing a key"
say "The key of the targets may have been stolen. A new root replaces it, and the installations follow:"
show_tool site keys rotate site --role targets --keys keys
answer --check | indented || true
show --trust
must "the new root is trusted" grep -q '"version": *2' "$suite/Trust/root.json"

title "When a plugin breaks"
say "The calculator shares a sum among people. With nobody there it divides by zero, and takes the host along:"
show --call Calculator share 12 4
typed VCore --call Calculator share 12 0
disown "$host_pid" # or the shell tells of its end in its own words
"${vcore[@]}" --call Calculator share 12 0 2>&1 | indented || true
while kill -0 "$host_pid" 2>/dev/null; do sleep 0.1; done
host_pid=''
say "The next start names the plugin; this one leaves it out:"
start_host --without Calculator
indented <host.err
must "the plugin is named" grep -q 'Calculator-1\.00\.000' host.err
show --list
must "the suite runs without it" [ "$(answer --call Greeter greet Donald)" = "Willkommen, Donald! Bitte nehmen Sie Platz." ]
say "The report tells where it broke:"
typed VCore --report
"${vcore[@]}" --report | sed -n 1,25p | indented
must "the report names the plugin" grep -q 'Calculator' <(answer --report)
stop_host

title "Removing everything"
show --uninstall
must "no plugin is left" [ ! -e "$suite/plugins" ]
must "nothing waits to be installed" [ ! -e "$data/Varkel/VCore/Dropbox/repository.xml" ]
must "the machine follows no repository" test -z "$(machine_settings | grep Repository)"
say "What is left of the suite are the medium, and what its plugins have written: $(short "$data")."
