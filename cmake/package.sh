#!/bin/sh
# usage: package.sh DIR
# Builds the Debian packages into DIR from a copy of this tree, so that nothing is written
# beside it. The same commit gives the same bytes.
set -eu
top=$(cd "$(dirname "$0")/.." && pwd)
mkdir -p "$1"
cd "$1"
rm -rf nodetree ./*.deb ./*.ddeb ./*.changes ./*.buildinfo
SOURCE_DATE_EPOCH=$(git -C "$top" log -1 --format=%ct 2>/dev/null ||
  dpkg-parsechangelog -l "$top/debian/changelog" -S Timestamp)
export SOURCE_DATE_EPOCH
mkdir nodetree
tar -C "$top" --exclude=./build --exclude=./.git --mtime="@$SOURCE_DATE_EPOCH" -cf - . |
  tar -C nodetree -xf -
cd nodetree
dpkg-buildpackage --no-sign --build=binary --jobs=auto
cd ..
# Only a distribution's first upload closes a bug.
lintian --allow-root --fail-on error,warning --suppress-tags initial-upload-closes-no-bugs \
  ./*.changes
