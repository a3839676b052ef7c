#!/bin/sh
# usage: check_mpack.sh SOURCE_DIR
# A folder named for MPack is refused if it does not contain MPack, or only the header of another
# library with that name.
set -eu
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

refuses() { # source, folder, what the report says
  if report=$("$CMAKE" -S "$1" -B "$scratch/build" -DNODETREE_TOOL=OFF -DNODETREE_EXAMPLES=OFF \
    -DNODETREE_MPACK_DIR="$2" 2>&1); then
    echo "FAILED: $2 is taken" >&2
    exit 1
  fi
  printf '%s\n' "$report" | tr -s '\n ' '  ' | grep -q "$3" ||
    { printf 'FAILED: not told "%s":\n%s\n' "$3" "$report" >&2; exit 1; }
  rm -rf "$scratch/build"
}

mkdir "$scratch/none" "$scratch/other"
printf 'typedef struct mpack_parser_s mpack_parser_t;\n' >"$scratch/other/mpack.h"
refuses "$1" "$scratch/none" "no mpack.h in"
refuses "$1" "$scratch/other" "is not MPack's"
