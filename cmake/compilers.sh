#!/bin/sh
# usage: [TESTS="NAME..."] compilers.sh COMPILER:FORM [CTEST ARGUMENT...]
# Builds with a compiler, such as gcc or clang-16, in build/compilers, and runs the tests. The form
# is `release`, `asan`, or `debian`: with the flags that dpkg-buildflags gives to packages.
set -eu
cd "$(dirname "$0")/.."
compiler=${1%:*} form=${1#*:}
shift
case $compiler in
gcc) cxx=g++ packages=g++ ;;
clang-*) cxx=clang++-${compiler#*-} packages=$compiler ;;
*) echo "compilers.sh: no such compiler: $compiler" >&2; exit 2 ;;
esac
preset=release
case $form:$compiler in
asan:clang-*) preset=asan packages="$packages libclang-rt-${compiler#*-}-dev" ;;
asan:*) preset=asan ;;
debian:*) packages="$packages dpkg-dev" ;;
release:*) ;;
*) echo "compilers.sh: no such form: $form" >&2; exit 2 ;;
esac
# shellcheck disable=SC2086 # one word for each package
cmake/install-packages.sh $packages cmake make pkg-config libyajl-dev libpcre2-dev libgtest-dev \
  locales python3 binutils mandoc bash

build=build/compilers/$compiler-$form
if [ "$form" = debian ]; then
  eval "$(DEB_BUILD_MAINT_OPTIONS=hardening=+all dpkg-buildflags --export=sh)"
  export CFLAGS="$CFLAGS $CPPFLAGS" CXXFLAGS="$CXXFLAGS $CPPFLAGS"
fi
cmake --preset "$preset" -B "$build" -DCMAKE_C_COMPILER="$compiler" -DCMAKE_CXX_COMPILER="$cxx" \
  -DNODETREE_HARDEN="$([ "$form" = debian ] && echo OFF || echo ON)"
cmake/build-and-test.sh "$build" -j "$(nproc)" "$@"
