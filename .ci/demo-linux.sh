# Sourced by demo.sh: how the demo runs on Linux. The programs are those of the build `preset`, dev or qt6; settings, data
# and sockets stay in the demo's folder, so that the machine's own are not touched.

demo="$root/build/demo-$preset"
suite="$demo/suite"
data="$demo/data"
release_1=../$preset/suite
release_2=../$preset/suite-2
vcore=("$root/build/$preset/programs/VCore/VCore")
norvale=("$root/build/$preset/programs/norvale/norvale")
deltas=(--deltas 3)

build_all() {
    # shellcheck disable=SC2086
    need $packages_build $packages_demo $([ "$preset" = dev ] || echo "$packages_qt6")
    targets="VCore norvale_tool suite suite_suite-2" build "$preset"
}

set_up_machine() {
    mkdir -p "$demo"/{machine/Varkel,user,data,run,suite}
    chmod 700 "$demo/run"
    cat >"$demo/machine/Varkel/Pelmora.conf" <<CONF
[General]
InstallDir=$suite

[ConfigMgr]
Locale=de_DE
CONF
    export XDG_CONFIG_DIRS="$demo/machine" XDG_CONFIG_HOME="$demo/user" XDG_DATA_HOME="$data" XDG_RUNTIME_DIR="$demo/run"
    export QT_QPA_PLATFORM=offscreen
}

leave_machine() { :; }

machine_settings() { cat "$demo/machine/Varkel/Pelmora.conf"; }

has_terminals() { SHELL=/bin/sh script -qec true /dev/null </dev/null >/dev/null 2>&1; }

# VCore with a terminal of its own, as its bar needs one. Where the demo writes to no terminal some states of the bar are
# shown below each other.
show_progress() {
    if ! has_terminals; then
        show_in_lines "$@"
        return
    fi
    typed VCore "$@"
    SHELL=/bin/sh script -qec "'${vcore[0]}' $*" typescript </dev/null |
        if [ -t 1 ]; then cat; else tr '\r' '\n' | awk '/^ *$/ { next }
            match($0, /\] +[0-9]+ %/) { step = int(substr($0, RSTART + 1, RLENGTH - 3) / 20); if (step == last) next; last = step }
            { sub(/ +$/, ""); print "   " $0 }'; fi
    # Without much debug information packages are too small for a bar, which nobody would read.
    [ "$(cat packages/{Farewell,Calculator}-1.00.000.zip | wc -c)" -lt 65536 ] ||
        must "a bar showed rate and time left" grep -Eq '\[#*-*\] .* of .*/s .* left' typescript
}
