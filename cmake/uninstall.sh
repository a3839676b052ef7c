#!/bin/sh
# usage: uninstall.sh MANIFEST DESTDIR
# Removes the files that MANIFEST names, MANIFEST itself, and the folders that only we use.
set -eu
manifest=$1
files=$(cat "$manifest")
echo "$files" | sed "s|^|$2|" | xargs -d '\n' rm -f
rm "$manifest"
echo "$files
${manifest#"$2"}" | sed -n ':up; s|/[^/]*$||; \|/nodetree|{p; b up}' | sort -ru |
  sed "s|^|$2|" | xargs -d '\n' -r rmdir --ignore-fail-on-non-empty
if [ -z "$2" ] && [ "$(id -u)" -eq 0 ]; then ldconfig; fi
