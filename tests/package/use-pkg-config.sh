#!/bin/sh
# Builds the host of a page with what pkg-config says of an installation: use-pkg-config.sh COMPILER PREFIX LIBDIR PAGE FOLDER PACKAGE
set -eu
rm -rf "$5"
mkdir -p "$5"
sed -n '/^```cpp$/,/^```$/{/^```/d;p}' "$4" >"$5/host.cpp"
PKG_CONFIG_PATH=$2/$3/pkgconfig
export PKG_CONFIG_PATH
# shellcheck disable=SC2046
"$1" -std=c++17 -fPIC "$5/host.cpp" -o "$5/host" $(pkg-config --cflags --libs "$6")
[ "$(pkg-config --modversion "$6 >= 1.0")" = 1.0.0 ]
# it starts, and finds no suite
cd "$5"
status=0
LD_LIBRARY_PATH=$2/$3 XDG_CONFIG_DIRS=$5 XDG_CONFIG_HOME=$5 XDG_DATA_HOME=$5 HOME=$5 ./host || status=$?
[ $status = 1 ] # 127 where a library is missing
