#!/bin/sh
# usage: abi.sh LIBRARY
# Fails, with the differences, if the library's binary interface is not the one described here.
set -eu
here=$(dirname "$0")
if [ "$(uname -m)" != x86_64 ]; then
  echo "abi: the description is of x86_64; nothing is compared here" >&2
  exit 0
fi
"$here/abi-update.sh" "$1" "$1.abi"
if abidiff "$here/libnodetree.abi" "$1.abi"; then
  echo "The binary interface is unchanged."
elif abidiff --no-added-syms "$here/libnodetree.abi" "$1.abi" >/dev/null; then
  echo "abi: the interface has grown: 'make abi-update' writes it down" >&2
  exit 1
else
  echo "abi: this breaks programs that are built already, and needs another SONAME" >&2
  exit 1
fi
