#!/bin/bash
# usage: package.sh <build folder> <work folder>; ./dev package calls it.
#
# Installs a build into <work folder>/stage, builds packaging/consumer against that through CMake and through pkg-config,
# and makes the Debian packages.
set -euo pipefail
cd "$(dirname "$0")/.."
build=$1
work=$PWD/$2
stage=$work/stage
rm -rf "$work"
mkdir -p "$work"

cmake --install "$build" --prefix "$stage" >"$work/install.log"
libdir=$(dirname "$(find "$stage" -name libzebCore.so)")
echo "staged in $2/stage: $(find "$stage" -name '*.h' | wc -l) headers, $(cd "$libdir" && echo libzebCore.so.*.*)"

export LD_LIBRARY_PATH=$libdir
cmake -S packaging/consumer -B "$work/consumer-cmake" -G Ninja -DCMAKE_PREFIX_PATH="$stage" >"$work/consumer.log"
cmake --build "$work/consumer-cmake" >>"$work/consumer.log" || { cat "$work/consumer.log"; exit 1; }
echo "consumer through CMake: $("$work/consumer-cmake/consumer")"

export PKG_CONFIG_PATH=$libdir/pkgconfig
read -ra flags <<<"$(pkg-config --cflags --libs zebCore)"
g++ -Wall -Wextra -Werror packaging/consumer/Main.cpp "${flags[@]}" -o "$work/consumer-pkgconfig"
echo "consumer through pkg-config: $("$work/consumer-pkgconfig")"

(cd "$build" && cpack -B "$work" >"$work/cpack.log" 2>&1) || { cat "$work/cpack.log"; exit 1; }
for package in "$work"/*.deb; do
    echo "$(basename "$package"): $(stat -c %s "$package") bytes, depends: $(dpkg-deb -f "$package" Depends)"
done

strip --strip-unneeded -o "$work/libzebCore.so.stripped" "$(readlink -f "$libdir/libzebCore.so")"
echo "libzebCore.so, stripped: $(stat -c %s "$work/libzebCore.so.stripped") bytes"
