#!/bin/sh
# usage: check_consumer.sh BUILD_DIR CONSUMER_DIR
# Installs the build into a fresh prefix, moves that, and builds and runs a C and a C++
# program against it, found through pkg-config and through CMake.
set -eu
build=$1
consumer=$2
cmake=${CMAKE:-cmake}
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

"$cmake" --install "$build" --prefix "$work/first" >/dev/null
mv "$work/first" "$work/prefix"

pc=$(find "$work/prefix" -name nodetree.pc)
PKG_CONFIG_PATH=$(dirname "$pc")
export PKG_CONFIG_PATH
libdir=$(cd "$(pkg-config --variable=libdir nodetree)" && pwd)
flags="-Wall -Wextra -Werror $(pkg-config --cflags --libs nodetree) -Wl,-rpath,$libdir"
# shellcheck disable=SC2086 # one word a flag
${CC:-cc} -std=c11 "$consumer/main.c" -o "$work/pc_c" $flags
# shellcheck disable=SC2086
${CXX:-c++} -std=c++17 "$consumer/main.cpp" -o "$work/pc_cpp" $flags

"$cmake" -S "$consumer" -B "$work/cmake" -DCMAKE_PREFIX_PATH="$work/prefix" \
  -DCMAKE_C_COMPILER="${CC:-cc}" -DCMAKE_CXX_COMPILER="${CXX:-c++}" >/dev/null
"$cmake" --build "$work/cmake" >/dev/null

for program in "$work/pc_c" "$work/pc_cpp" "$work/cmake/consumer_c" "$work/cmake/consumer_cpp"; do
  output=$("$program") || { echo "$program failed" >&2; exit 1; }
  [ "$output" = '{"port":8080}' ] || { echo "$program printed: $output" >&2; exit 1; }
done

# The installed command, where the build has one, finds the library beside it.
if [ -x "$work/prefix/bin/nodetree" ]; then
  result=$(echo '{"a":[1,2]}' | "$work/prefix/bin/nodetree" get /a/1)
  [ "$result" = 2 ] || { echo "nodetree get printed: $result" >&2; exit 1; }
fi
