#!/bin/sh
# usage: [TESTS="NAME..."] build-and-test.sh BUILD_DIR [CTEST ARGUMENT...]
# Builds what has been configured there and runs its tests; with TESTS those programs of tests alone.
set -eu
build=$1
shift
# shellcheck disable=SC2086 # one word a test
cmake --build "$build" -j "$(nproc)" ${TESTS:+--target $(printf '%s_test ' $TESTS)}
ctest --test-dir "$build" --output-on-failure --no-tests=error \
  ${TESTS:+-R "^($(echo $TESTS | tr ' ' '|'))\$"} "$@"
