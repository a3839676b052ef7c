#!/bin/sh
# usage: check_consumer.sh BUILD_DIR CONSUMER_DIR
# Installs the build below a DESTDIR and moves the result. Then builds and runs a program in C
# and one in C++ with it: found through pkg-config and through CMake, linked to the shared
# library, with and without PIE, and to the static one. Finally installs and uninstalls.
set -eu
build=$1
consumer=$2
launcher=${NODETREE_TEST_LAUNCHER:-}
unset PKG_CONFIG_SYSROOT_DIR # what is installed here is outside of it
cmake=${CMAKE:-cmake}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
prefix=$work/prefix

DESTDIR=$work/root "$cmake" --install "$build" --prefix /opt/first >/dev/null
mv "$work/root/opt/first" "$prefix"

fail() { echo "$*" >&2; exit 1; }

run() {
  for program in "$@"; do
    output=$($launcher "$program") || fail "$program failed"
    [ "$output" = '{"port":8080}' ] || fail "$program printed: $output"
  done
}

build_by_pkg_config() { # name, flags
  flags="-Wall -Wextra -Werror $2 ${LDFLAGS:-}"
  # shellcheck disable=SC2086 # one word for each flag
  ${CC:-cc} -std=c11 "$consumer/main.c" -o "$work/$1_c" $flags
  # shellcheck disable=SC2086
  ${CXX:-c++} -std=c++17 "$consumer/main.cpp" -o "$work/$1_cpp" $flags
}

PKG_CONFIG_PATH=$(dirname "$(find "$prefix" -name nodetree.pc)")
export PKG_CONFIG_PATH
[ "$(pkg-config --variable=prefix nodetree)" = /opt/first ] || fail "nodetree.pc has another prefix"
pkg_config() { pkg-config --define-prefix "$@" nodetree; }
libdir=$(pkg_config --variable=libdir)
shared="$(pkg_config --cflags --libs) -Wl,-rpath,$libdir"
build_by_pkg_config shared "$shared"
build_by_pkg_config fixed "$shared -fno-pie -no-pie"

"$cmake" -S "$consumer" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$prefix" \
  -DCMAKE_C_COMPILER="${CC:-cc}" -DCMAKE_CXX_COMPILER="${CXX:-c++}" >/dev/null
"$cmake" --build "$work/cmake" >/dev/null

run "$work"/shared_c* "$work"/fixed_c* "$work"/cmake/shared_c*

# The installed command, if the build has one, finds the library beside it.
if [ -x "$prefix/bin/nodetree" ]; then
  result=$(echo '{"a":[1,2]}' | $launcher "$prefix/bin/nodetree" get /a/1)
  [ "$result" = 2 ] || fail "nodetree get printed: $result"
  for file in man/man1/nodetree.1 bash-completion/completions/nodetree; do
    [ -s "$prefix/share/$file" ] || fail "share/$file is not installed"
  done
fi
for name in nodetree node_lookup sl_new; do
  [ -s "$prefix/share/man/man3/$name.3" ] || fail "$name.3 is not installed"
done

# Without the shared library the linker takes the static one, and the program needs neither.
rm "$libdir"/libnodetree.so*
build_by_pkg_config static "$(pkg_config --cflags --static --libs)"
build_by_pkg_config alone "-static $(pkg_config --cflags --static --libs)"
rm "$libdir/libnodetree.a"
run "$work"/static_c* "$work"/cmake/static_c* "$work"/alone_c*

DESTDIR=$work/root "$cmake" --install "$build" --prefix /usr >/dev/null
"$(dirname "$0")/../cmake/uninstall.sh" "$build/install_manifest.txt" "$work/root"
left=$(find "$work/root" ! -type d -o -path '*/nodetree')
[ -z "$left" ] || fail "uninstalling leaves $left"
