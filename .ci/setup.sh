# Sourced by the scripts of the root: where things are, how packages come onto the machine, how a build is made.
# Works on Debian 12; elsewhere the packages are expected to be there.

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
jobs=$(nproc)

packages_build="g++ cmake ninja-build ccache qtbase5-dev qttools5-dev-tools zlib1g-dev libdeflate-dev libgcrypt20-dev robin-map-dev libfast-float-dev qtscript5-dev libcli11-dev libzip-dev libdivsufsort-dev"
packages_test="man-db groff-base zsh fish libxml2-utils doxygen graphviz qtdeclarative5-dev openssl python3 python3-cryptography zip unzip tango-icon-theme dpkg-dev file pkg-config lintian diffoscope-minimal"
packages_qt6="qt6-base-dev qt6-declarative-dev qt6-l10n-tools"
packages_bench="libbenchmark-dev nlohmann-json3-dev rapidjson-dev libspdlog-dev libminizip-dev nginx-light zip unzip python3"
packages_fuzz="clang llvm libclang-rt-dev"
packages_windows="wine64 g++-mingw-w64-x86-64-posix libz-mingw-w64-dev libgcrypt-mingw-w64-dev xz-utils perl cmake ninja-build ccache qttools5-dev-tools libcli11-dev robin-map-dev libfast-float-dev openssl python3 python3-cryptography unzip"
packages_demo="jq nginx-light"

# need PACKAGE...: installs what is missing of these Debian packages.
need() {
    command -v dpkg-query >/dev/null || return 0
    local missing="" package
    for package in "$@"; do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' || missing="$missing $package"
    done
    [ -n "$missing" ] || return 0
    local as_root=""
    [ "$(id -u)" = 0 ] || as_root=sudo
    echo "Installing:$missing"
    $as_root apt-get update -qq
    # shellcheck disable=SC2086
    DEBIAN_FRONTEND=noninteractive $as_root apt-get install -y -qq --no-install-recommends $missing >/dev/null
}

# run_quietly NAME COMMAND...: what it says goes to build/NAME.log, and is shown when it fails.
run_quietly() {
    local log="$root/build/$1.log"
    shift
    mkdir -p "$root/build"
    "$@" >"$log" 2>&1 || { tail -n 40 "$log" >&2; return 1; }
}

# build PRESET [CMAKE ARGUMENT...]: configures and builds, quiet unless it fails. The variable `targets` narrows it.
build() {
    local preset=$1 log="$root/build/$1.log"
    shift
    mkdir -p "$root/build"
    if [ -z "${CMAKE_CXX_COMPILER_LAUNCHER:-}" ] && command -v ccache >/dev/null; then
        # Clones in different folders share what was compiled.
        export CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_BASEDIR="$root" CCACHE_NOHASHDIR=1
    fi
    echo "Building ($preset) ..."
    if ! (cd "$root" && cmake --preset "$preset" "$@" && cmake --build --preset "$preset" -j "$jobs" ${targets:+-t $targets}) >"$log" 2>&1; then
        grep -nE 'error|Error|FAILED|undefined reference' "$log" | head -n 40
        tail -n 40 "$log"
        echo "The build failed; the whole output is in $log" >&2
        return 1
    fi
}

# The archive of Qt for 64-bit Windows, made with MinGW-w64; else QT_WIN64 names a tree of it.
qt_win64_archive="$root/../shared/qt5-win64.tar.xz"

has_qt_win64() {
    [ -f "$qt_win64_archive" ] || [ -e "${QT_WIN64:-}/lib/cmake/Qt5/Qt5Config.cmake" ]
}

# Sets QT_WIN64, after unpacking the archive where there is one.
take_qt_win64() {
    [ -f "$qt_win64_archive" ] || return 0
    export QT_WIN64="$root/build/qt5-win64"
    if [ ! -e "$QT_WIN64/.unpacked" ]; then
        mkdir -p "$root/build"
        tar xf "$qt_win64_archive" -C "$root/build"
        touch "$QT_WIN64/.unpacked"
    fi
}

# build_for_windows PRESET: the same for 64-bit Windows, with all that it needs; ends the script with 2 where Qt is not there.
build_for_windows() {
    has_qt_win64 || { echo "No Qt for Windows: neither $qt_win64_archive nor QT_WIN64 has it" >&2; exit 2; }
    # shellcheck disable=SC2086
    need $packages_windows
    take_qt_win64
    run_quietly windows-roots "$root/cmake/windows/make-roots" "$root/build/windows-roots"
    build "$1" -DWIN64_ROOTS="$root/build/windows-roots"
}
