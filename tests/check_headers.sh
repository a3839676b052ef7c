#!/bin/sh
# usage: check_headers.sh INCLUDE_DIR
# Every public header compiles on its own, without a warning, in each language it supports,
# and so does check_headers.c.
set -u
include=$1
failed=0

check() { # language, standard, compiler, header
  printf '#include <%s>\ntypedef int a_declaration;\n' "$4" |
    "$3" -x "$1" -std="$2" -Wall -Wextra -Wpedantic -Wundef -Wconversion -Wshadow -Werror \
      -I "$include" -fsyntax-only $(test "$1" = c || echo -Wold-style-cast -fno-exceptions -fno-rtti) - || { echo "FAILED: $4 as $2" >&2; failed=1; }
}

for path in "$include"/nodetree.h* "$include"/nodetree/*.h "$include"/nodetree/cpp/*.hpp; do
  header=${path#"$include"/}
  case $header in *.h) check c c11 "${CC:-cc}" "$header" ;; esac
  check c++ c++17 "${CXX:-c++}" "$header"
done
for standard in c99 c17 c2x; do
  check c "$standard" "${CC:-cc}" nodetree.h
done
for standard in c++11 c++14 c++20 c++2b; do
  check c++ "$standard" "${CXX:-c++}" nodetree.h
done
for standard in c++20 c++2b; do
  check c++ "$standard" "${CXX:-c++}" nodetree.hpp
done
"${CC:-cc}" -std=c11 -Wall -Wextra -Wpedantic -Werror -I "$include" -fsyntax-only \
  "${0%.sh}.c" || failed=1
exit $failed
