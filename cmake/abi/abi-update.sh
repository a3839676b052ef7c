#!/bin/sh
# usage: abi-update.sh LIBRARY [DESCRIPTION]
# Describes the binary interface of a library with debug information: its symbols and the
# layout of every type that they use, but nothing about the machine that it was built on.
set -eu
here=$(dirname "$0")
exec abidw --headers-dir "$here/../../include" --drop-private-types \
  --exported-interfaces-only --drop-undefined-syms --no-elf-needed \
  --no-corpus-path --no-comp-dir-path --no-show-locs --type-id-style hash \
  --out-file "${2:-$here/libnodetree.abi}" "$1"
