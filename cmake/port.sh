#!/bin/sh
# usage: [TESTS="NAME..."] port.sh i386|arm64|s390x [CTEST ARGUMENT...]
# Builds for another machine with Debian's cross compiler, in build/ports/MACHINE, and runs the
# tests with qemu-user. The libraries come from Debian's packages for that machine, unpacked into
# a sysroot; on this machine only the compilers and qemu are installed. Exits with 75 if the
# packages cannot be fetched.
set -eu
cd "$(dirname "$0")/.."
machine=$1
shift
case $machine in
i386) triplet=i386-linux-gnu compiler=i686-linux-gnu qemu=qemu-i386 ;;
arm64) triplet=aarch64-linux-gnu compiler=$triplet qemu=qemu-aarch64 ;;
s390x) triplet=s390x-linux-gnu compiler=$triplet qemu=qemu-s390x ;;
*) echo "port.sh: no such machine: $machine" >&2; exit 2 ;;
esac
cmake/install-packages.sh "g++-$(echo $compiler | tr _ -)" qemu-user cmake make pkg-config \
  python3 locales libgtest-dev

build=$PWD/build/ports/$machine
sysroot=$build/sysroot
if [ ! -f "$sysroot/complete" ]; then
  rm -rf "$build"
  mkdir -p "$build/apt/lists/partial" "$build/apt/cache/archives/partial" "$sysroot"
  touch "$build/apt/status"
  apt() {
    apt-get -qq -o Debug::NoLocking=1 -o APT::Architecture="$machine" -o APT::Architectures="$machine" \
      -o APT::Sandbox::User=root -o Dir::State="$build/apt" -o Dir::State::status="$build/apt/status" \
      -o Dir::Cache="$build/apt/cache" "$@"
  }
  apt update || : # a list that cannot be fetched is not needed if the packages are found
  (cd "$build/apt" && apt download libc6 libgcc-s1 libstdc++6 libyajl2 libyajl-dev libpcre2-8-0 \
    libpcre2-dev libgtest-dev) || {
    echo "port.sh: the packages of $machine cannot be fetched" >&2
    exit 75
  }
  for package in "$build"/apt/*.deb; do
    dpkg-deb -x "$package" "$sysroot"
  done
  rm -r "$build/apt"
  touch "$sysroot/complete"
fi

export PKG_CONFIG_LIBDIR="$sysroot/usr/lib/$triplet/pkgconfig" PKG_CONFIG_SYSROOT_DIR="$sysroot"
export LDFLAGS="-Wl,-rpath-link,$sysroot/usr/lib/$triplet"
cmake -S . -B "$build/tree" -DCMAKE_BUILD_TYPE=Release -DNODETREE_WERROR=ON -DNODETREE_TESTS=ON \
  -DCMAKE_SYSTEM_NAME=Linux -DCMAKE_SYSTEM_PROCESSOR="$machine" \
  -DCMAKE_C_COMPILER="$compiler-gcc" -DCMAKE_CXX_COMPILER="$compiler-g++" \
  -DCMAKE_FIND_ROOT_PATH="$sysroot" -DCMAKE_FIND_ROOT_PATH_MODE_PROGRAM=NEVER \
  -DCMAKE_LIBRARY_ARCHITECTURE="$triplet" \
  -DNODETREE_TEST_LAUNCHER="$qemu;-L;$sysroot;-E;LD_LIBRARY_PATH=$sysroot/usr/lib/$triplet"
NODETREE_TEST_SLOWDOWN=20 cmake/build-and-test.sh "$build/tree" "$@"
