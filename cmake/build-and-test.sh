#!/bin/sh
# usage: [TESTS="NAME..."] build-and-test.sh BUILD_DIR [CTEST ARGUMENT...]
# Builds the configured folder and runs its tests; with TESTS only those test programs.
set -eu
build=$1
shift
# shellcheck disable=SC2086 # one word for each test
cmake --build "$build" -j "$(nproc)" ${TESTS:+--target $(printf '%s_test ' $TESTS)}
ctest --test-dir "$build" --output-on-failure --no-tests=error \
  ${TESTS:+-R "^($(echo $TESTS | tr ' ' '|'))\$"} "$@"
