#!/bin/sh
# usage: check_headers.sh INCLUDE_DIR
# Every public header compiles on its own, without a warning, in each language it promises.
set -u
include=$1
failed=0

check() { # language, standard, compiler, header, further options
  # shellcheck disable=SC2086 # one word an option
  printf '#include <%s>\ntypedef int a_declaration;\n' "$4" |
    "$3" -x "$1" -std="$2" -Wall -Wextra -Wpedantic -Wundef -Werror -I "$include" \
      $5 -fsyntax-only - || { echo "FAILED: $4 as $2" >&2; failed=1; }
}

for path in "$include"/nodetree.h "$include"/nodetree/*.h; do
  header=${path#"$include"/}
  check c c11 "${CC:-cc}" "$header" ""
  check c++ c++17 "${CXX:-c++}" "$header" ""
  check c++ c++20 "${CXX:-c++}" "$header" ""
done
for path in "$include"/nodetree/cpp/*.hpp; do
  check c++ c++17 "${CXX:-c++}" "${path#"$include"/}" ""
done
for standard in c++17 c++20 c++23; do
  for options in "" "-fno-exceptions -fno-rtti"; do
    check c++ "$standard" "${CXX:-c++}" nodetree.hpp "$options"
  done
done
exit $failed
