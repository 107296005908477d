#!/usr/bin/env bash
# Installs the built tree into a scratch prefix, then builds the consumer
# program against it with CMake (shared and static library) and with
# pkg-config, and runs each build.
# Usage: run.sh <webstep build dir> <consumer source dir> <scratch dir> <cmake> <c++ compiler>
set -euo pipefail
build=$1 src=$2 work=$3 cmake=$4 cxx=$5
rm -rf "$work"
mkdir -p "$work"
cd "$work"
prefix=$work/prefix

step() { echo "== $*"; }
fail() { echo "FAILED: $*" >&2; exit 1; }

step "install into $prefix"
"$cmake" --install "$build" --prefix "$prefix" >"$work/install.log" || { cat "$work/install.log"; fail "install"; }

# The installed tree: versioned shared library with its SONAME, static
# library, headers, package files, tool and man page.
libdir=$(dirname "$(find "$prefix" -name 'libwebstep.so' -print -quit)")
[ -n "$libdir" ] && [ -d "$libdir" ] || fail "libwebstep.so is not installed"
so=$(readlink "$libdir/libwebstep.so")
[[ $so == libwebstep.so.* ]] || fail "libwebstep.so does not link to a versioned file ($so)"
soname=$(objdump -p "$libdir/libwebstep.so" | awk '/SONAME/{print $2}')
[[ $soname =~ ^libwebstep\.so\.[0-9]+$ ]] || fail "SONAME is '$soname', expected libwebstep.so.<major>"
[ -e "$libdir/$soname" ] || fail "no $soname beside the library"
[ -f "$libdir/libwebstep.a" ] || fail "libwebstep.a is not installed"
for f in include/webstep/webstep.h include/webstep/forms/Form.h include/webstep/foundation/Export.h \
         bin/webstep share/doc/webstep/README.md share/doc/webstep/examples/forms.cpp; do
  [ -e "$prefix/$f" ] || fail "$f is not installed"
done
# The man page needs help2man at build time (the bootstrap installs it).
if command -v help2man >/dev/null; then
  [ -s "$prefix/share/man/man1/webstep.1" ] || fail "the man page is not installed"
  grep -q '^\.SS url crack' "$prefix/share/man/man1/webstep.1" || fail "the man page lacks the commands"
fi
[ -f "$libdir/cmake/webstep/webstepConfig.cmake" ] || fail "the CMake package is not installed"
[ -f "$libdir/pkgconfig/webstep.pc" ] || fail "webstep.pc is not installed"
version=$("$prefix/bin/webstep" --version) || fail "the installed tool does not run"
[[ $version =~ ^webstep\ [0-9] ]] || fail "the installed tool gives the version \"$version\""

# Hidden by default: what the headers mark is exported, the machinery behind
# it (such as the generated lexer engine) is not.
nm -D --defined-only "$libdir/libwebstep.so" > "$work/exported.txt"
grep -q 'CURLParser' "$work/exported.txt" || fail "the URL parser is not exported"
if grep -q 'wshtml_' "$work/exported.txt"; then
  fail "the lexer engine's functions are exported"
fi

step "CMake: find_package(webstep CONFIG)"
"$cmake" -S "$src" -B "$work/cmake-build" -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_CXX_COMPILER="$cxx" -DCMAKE_BUILD_TYPE=Release >"$work/configure.log" ||
  { cat "$work/configure.log"; fail "configure with find_package"; }
"$cmake" --build "$work/cmake-build" -j2 >"$work/build.log" 2>&1 ||
  { cat "$work/build.log"; fail "build with find_package"; }
# The installed rpath is not set: the program finds the library like any
# other program would, through the loader path.
LD_LIBRARY_PATH=$libdir "$work/cmake-build/consumer" || fail "the shared-library program"
"$work/cmake-build/consumer_static" || fail "the static-library program"
needed=$(objdump -p "$work/cmake-build/consumer" | awk '/NEEDED/{print $2}')
grep -qx "$soname" <<<"$needed" || fail "the program does not load $soname"

step "pkg-config"
export PKG_CONFIG_PATH=$libdir/pkgconfig
pkg-config --exists webstep || fail "pkg-config does not find webstep"
[ "$(pkg-config --modversion webstep)" = "$("$prefix/bin/webstep" --version | awk '{print $2}')" ] ||
  fail "pkg-config version differs from the tool's"
# shellcheck disable=SC2046
"$cxx" -std=c++20 -O1 -o "$work/consumer-pc" "$src/consumer.cpp" $(pkg-config --cflags --libs webstep) ||
  fail "build with pkg-config"
LD_LIBRARY_PATH=$libdir "$work/consumer-pc" || fail "the pkg-config program"

echo "consumer: all builds ran"
