#!/bin/sh
# Installs a build into a temporary prefix and checks that what was installed
# works on its own: the tool runs without LD_LIBRARY_PATH, the library finds
# libkvlibw beside it, the man page is there (when help2man was found), the
# CMake package and pkg-config files point into the prefix (not the build or
# source tree), and a small host builds and runs once with find_package(kvproj)
# and once with pkg-config.
#   sh tools/check_install.sh [BUILD_DIR]
set -eu
src=$(cd "$(dirname "$0")/.." && pwd)
build=$(cd "${1:-build}" && pwd)
tmp=$(mktemp -d "${TMPDIR:-/tmp}/kvproj-install.XXXXXX")
trap 'rm -rf "$tmp"' EXIT INT TERM
prefix=$tmp/prefix
fail() {
    echo "check_install: $*" >&2
    exit 1
}
unset LD_LIBRARY_PATH

cmake --install "$build" --prefix "$prefix" >"$tmp/install.log" || fail "cmake --install failed"
libdir=$(dirname "$(find "$prefix" -name 'libkvproj.so' | head -n 1)")
[ -d "$libdir" ] || fail "no libkvproj.so installed"

# The installed tool, run from elsewhere, with no library path.
out=$(cd "$tmp" && echo "16.5 45.0" | "$prefix/bin/kvproj" convert --fwd --utm 33N) ||
    fail "the installed kvproj does not run"
[ "$out" = "618222.966 4984044.799" ] || fail "installed kvproj printed '$out'"
"$prefix/bin/kvproj" --version >/dev/null || fail "kvproj --version"

# The shared library finds libkvlibw through its own run path.
ldd "$libdir/libkvproj.so" | grep -q "libkvlibw.* => $libdir/" ||
    fail "libkvproj.so does not find libkvlibw in $libdir: $(ldd "$libdir/libkvproj.so" | grep kvlibw)"

# The man page, when the build had help2man.
if [ -f "$build/kvproj.1" ]; then
    [ -s "$prefix/share/man/man1/kvproj.1" ] || fail "man page not installed"
    grep -q 'kvproj zone' "$prefix/share/man/man1/kvproj.1" || fail "man page lacks the commands"
fi

# Nothing installed refers to the build or source tree.
if grep -rl -e "$build" -e "$src/" "$libdir/cmake" "$libdir/pkgconfig" 2>/dev/null; then
    fail "installed package files refer to the build or source tree"
fi

# A host with find_package(kvproj).
CMAKE_BUILD_PARALLEL_LEVEL=2 cmake -S "$src/tests/consumer" -B "$tmp/cmake-host" \
    -DCMAKE_PREFIX_PATH="$prefix" >"$tmp/host.log" 2>&1 || { cat "$tmp/host.log"; fail "find_package(kvproj) failed"; }
cmake --build "$tmp/cmake-host" >>"$tmp/host.log" 2>&1 || { cat "$tmp/host.log"; fail "the CMake host does not build"; }
"$tmp/cmake-host/consumer" >/dev/null || fail "the CMake host does not run"

# A host with pkg-config (its run path is the host's choice, as for any prefix
# outside the loader's list).
export PKG_CONFIG_PATH="$libdir/pkgconfig"
flags=$(pkg-config --cflags --libs kvproj) || fail "pkg-config kvproj failed"
# shellcheck disable=SC2086
${CXX:-c++} -std=c++17 "$src/tests/consumer/consumer.cpp" -o "$tmp/pc-host" $flags \
    -Wl,-rpath,"$(pkg-config --variable=libdir kvproj)" || fail "the pkg-config host does not build"
"$tmp/pc-host" >/dev/null || fail "the pkg-config host does not run"
echo "check_install: installed tool, library, man page, CMake and pkg-config hosts all work"
