#!/bin/bash
# usage: package.sh <build folder> <work folder>; ./dev package calls it.
#
# Installs a build into <work folder>/stage, builds packaging/consumer and the sample daemon with its tests against that
# through CMake, the former and a guide's test through pkg-config, and makes the Debian packages.
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

# A client's tree: nothing of ours but what is installed.
client=$work/client
cp -r packaging/consumer "$client"
mkdir -p "$client"/{examples,tests}
cp -r examples/gateway "$client/examples"
cp -r tests/examples "$client/tests"

export LD_LIBRARY_PATH=$libdir
log=$work/client.log
{ cmake -S "$client" -B "$client/build" -G Ninja -DCMAKE_PREFIX_PATH="$stage" && cmake --build "$client/build" -j2; } >"$log" 2>&1 ||
    { cat "$log"; exit 1; }
echo "consumer through CMake: $("$client/build/bin/consumer")"
echo "the gateway's tests through CMake: $("$client/build/bin/gateway_test" | tail -1)"

export PKG_CONFIG_PATH=$libdir/pkgconfig
read -ra flags <<<"$(pkg-config --cflags --libs zebCore)"
g++ -Wall -Wextra -Werror packaging/consumer/Main.cpp "${flags[@]}" -o "$work/consumer-pkgconfig"
echo "consumer through pkg-config: $("$work/consumer-pkgconfig")"
read -ra flags <<<"$(pkg-config --cflags --libs zebWorkbench)"
g++ -Wall -Wextra -Werror docs/examples/DaemonTest.cpp "${flags[@]}" -o "$work/test-pkgconfig"
echo "the guide's test through pkg-config: $("$work/test-pkgconfig" | tail -1)"

(cd "$build" && cpack -B "$work" >"$work/cpack.log" 2>&1) || { cat "$work/cpack.log"; exit 1; }
for package in "$work"/*.deb; do
    echo "$2/$(basename "$package"): $(stat -c %s "$package") bytes, depends: $(dpkg-deb -f "$package" Depends)"
done

strip --strip-unneeded -o "$work/libzebCore.so.stripped" "$(readlink -f "$libdir/libzebCore.so")"
echo "libzebCore.so, stripped: $(stat -c %s "$work/libzebCore.so.stripped") bytes"
