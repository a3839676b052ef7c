#!/bin/sh
# usage: install-packages.sh PACKAGE...
# Installs the Debian packages that are missing. Prints nothing if all are installed.
set -eu

if ! command -v dpkg-query >/dev/null; then
  echo "install-packages: no Debian system; the equivalents of these are needed: $*" >&2
  exit 0
fi

missing=
for package in "$@"; do
  dpkg-query -W -f='${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed ||
    missing="$missing $package"
done
[ -n "$missing" ] || exit 0

if [ "$(id -u)" -eq 0 ]; then
  as_root=
elif command -v sudo >/dev/null; then
  as_root=sudo
else
  echo "install-packages: run this as root first: apt-get install$missing" >&2
  exit 1
fi
echo "Installing Debian packages:$missing"

# DEBIAN_FRONTEND goes through env because sudo drops the caller's variables.
apt() {
  $as_root env DEBIAN_FRONTEND=noninteractive \
    apt-get -qq -y -o DPkg::Lock::Timeout=120 -o Dpkg::Use-Pty=0 "$@" </dev/null
}
# Fetches the package lists only if they are missing or too old. shellcheck disable=SC2086 #
# one word for each package
if apt-get -qq --simulate install $missing >/dev/null 2>&1; then
  apt install --no-install-recommends $missing && exit 0
fi
apt update
# shellcheck disable=SC2086
apt install --no-install-recommends $missing
