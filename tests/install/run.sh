#!/usr/bin/env bash
# make test-install: installs a release build into a temporary prefix, checks the installed
# layout, builds the two clients of examples/client against the installed files only (one with
# pkg-config and make, one with CMake's find_package) and runs them. Where dpkg is available and
# we are root, also builds the Debian package (make package), installs it, runs the installed
# kotool under C.UTF-8, builds a client against the system install, and removes the package.
# Usage: tests/install/run.sh RELEASE_BUILD_DIR PACKAGE_BUILD_DIR JOBS
set -euo pipefail
cd "$(dirname "$0")/../.."
release=${1:-build-release}
package=${2:-build-package}
jobs=${3:-2}
version=$(sed -n 's/^project(kolib VERSION \([0-9.]*\).*/\1/p' CMakeLists.txt)
tmp=$(mktemp -d /tmp/kolib-install.XXXXXX)
trap 'rm -rf "$tmp"' EXIT
failures=0
fail() { echo "test-install: FAIL: $*"; failures=$((failures + 1)); }
# Clients run without the build's library path, so only the installed files can satisfy them.
run_clean() { env -u LD_LIBRARY_PATH -u KO_DEBUGGING "$@"; }
expect_output() { # NAME EXPECTED-SUBSTRING COMMAND...
  local name=$1 want=$2 out
  shift 2
  if ! out=$("$@" 2>&1); then fail "$name exited with $?: $out"; return; fi
  case "$out" in *"$want"*) echo "ok: $name" ;; *) fail "$name: no '$want' in: $out" ;; esac
}

cmake -S . -B "$release" -DCMAKE_BUILD_TYPE=Release -DKOLIB_TESTS=OFF -DKOLIB_BENCH=OFF >/dev/null
cmake --build "$release" -j "$jobs" >/dev/null
prefix=$tmp/prefix
cmake --install "$release" --prefix "$prefix" >/dev/null
libdir=$(sed -n 's/^libdir=${prefix}\///p' "$release/kolib.pc")
[ -n "$libdir" ] || libdir=lib

# The layout.
for f in "$libdir/libkolib.so.1" "$libdir/libkolib.so" include/kolib/kolib.h \
  include/kolib/version.h "$libdir/locale/en_US/LC_MESSAGES/kolib.mo" "$libdir/locale/C.UTF-8" \
  "$libdir/locale/POSIX" bin/kotool share/man/man1/kotool.1 "$libdir/pkgconfig/kolib.pc" \
  "$libdir/cmake/kolib/kolibConfig.cmake" "$libdir/cmake/kolib/kolibConfigVersion.cmake"; do
  [ -e "$prefix/$f" ] || fail "missing $f"
done
[ ! -e "$prefix/include/kolib/testing.h" ] || fail "testing.h installed"
soname=$(objdump -p "$prefix/$libdir/libkolib.so" | awk '/SONAME/ {print $2}')
[ "$soname" = libkolib.so.1 ] || fail "soname is '$soname'"
grep -q "kolib $version" "$prefix/share/man/man1/kotool.1" || fail "man page without the version"

expect_output "installed kotool --version" "kotool $version (libkolib $version)" \
  run_clean "$prefix/bin/kotool" --version
expect_output "installed kotool msg under C.UTF-8" "File not found: zebra" \
  run_clean env LANG=C.UTF-8 LC_ALL= LC_MESSAGES= "$prefix/bin/kotool" msg 1509 zebra

# Client 1: pkg-config and make, from a copy of examples/client outside the project.
cp -r examples/client "$tmp/pc"
export PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
expect_output "pkg-config --libs" "-lkolib" pkg-config --libs kolib
make -s -C "$tmp/pc" connstr_client >/dev/null || fail "pkg-config client did not build"
expect_output "pkg-config client" "error 1509: File not found: zebra" \
  run_clean env LANG=C.UTF-8 "$tmp/pc/connstr_client" "DSN=a b;PWD={x;y}"
expect_output "pkg-config client pairs" "PWD = {x;y}" run_clean "$tmp/pc/connstr_client" "DSN=a;PWD={x;y}"

# Client 2: CMake find_package.
cp -r examples/client "$tmp/cm"
if cmake -S "$tmp/cm" -B "$tmp/cm/build" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null &&
  cmake --build "$tmp/cm/build" >/dev/null; then
  expect_output "find_package client" "error 1509: File not found: zebra" \
    run_clean env LANG=C.UTF-8 "$tmp/cm/build/connstr_client"
else
  fail "find_package client did not build"
fi
unset PKG_CONFIG_PATH

# The Debian package, where this machine can install one.
if command -v dpkg >/dev/null && [ "$(id -u)" = 0 ] && [ "${KOLIB_TEST_DEB:-1}" != 0 ]; then
  if dpkg -s kolib >/dev/null 2>&1; then
    echo "test-install: a kolib package is installed already; the package test is skipped"
  else
    cmake -S . -B "$package" -DCMAKE_BUILD_TYPE=Release -DKOLIB_TESTS=OFF -DKOLIB_BENCH=OFF \
      -DCMAKE_INSTALL_PREFIX=/usr >/dev/null
    cmake --build "$package" -j "$jobs" >/dev/null
    (cd "$package" && cpack >/dev/null)
    deb=$(ls "$package"/kolib_"$version"_*.deb)
    locale_dir_before=$(stat -c %F /usr/lib/locale/C.utf8 2>/dev/null || echo none)
    dpkg -i "$deb" >/dev/null || fail "dpkg -i $deb"
    expect_output "packaged kotool --version" "kotool $version" run_clean kotool --version
    expect_output "packaged kotool msg under C.UTF-8" "File not found: zebra" \
      run_clean env LANG=C.UTF-8 LC_ALL= LC_MESSAGES= kotool msg 1509 zebra
    expect_output "packaged man page" "man1/kotool.1" dpkg -L kolib
    cp -r examples/client "$tmp/sys"
    make -s -C "$tmp/sys" connstr_client >/dev/null || fail "client against the package"
    expect_output "client against the package" "File not found: zebra" \
      run_clean env LANG=C.UTF-8 "$tmp/sys/connstr_client"
    [ "$(stat -c %F /usr/lib/locale/C.utf8 2>/dev/null || echo none)" = "$locale_dir_before" ] ||
      fail "the system's C.utf8 locale directory changed"
    dpkg -L kolib >"$tmp/files"
    dpkg -r kolib >/dev/null || fail "dpkg -r kolib"
    while read -r f; do
      [ -d "$f" ] || [ ! -e "$f" -a ! -L "$f" ] || fail "$f left after dpkg -r"
    done <"$tmp/files"
    ! command -v kotool >/dev/null || fail "kotool still installed after dpkg -r"
    dpkg -P kolib >/dev/null || fail "dpkg -P kolib"
    ! dpkg -s kolib >/dev/null 2>&1 || fail "kolib still known to dpkg after purging"
  fi
else
  echo "test-install: no dpkg or not root; the Debian package is not installed here"
fi

if [ "$failures" -gt 0 ]; then
  echo "test-install: $failures failure(s)"
  exit 1
fi
echo "test-install: all passed"
