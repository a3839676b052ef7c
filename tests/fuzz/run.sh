#!/bin/sh
# usage: run.sh BUILD_DIR SECONDS [TARGET...]
# Runs the named fuzz targets, or all, each for this many seconds, and fails at the first
# finding, whose input is left in BUILD_DIR/findings. A line of TARGET.seeds is an input with
# printf's escapes. New inputs go to BUILD_DIR/corpus, from which the next run continues.
set -eu

build=$1
seconds=$2
shift 2
here=$(cd "$(dirname "$0")" && pwd)
[ $# -gt 0 ] || set -- $(cd "$here" && ls -- *.seeds | sed 's/[.]seeds$//')

for target; do
  seeds=$build/seeds/$target
  corpus=$build/corpus/$target
  mkdir -p "$seeds" "$corpus" "$build/findings"
  number=0
  while IFS= read -r line; do
    number=$((number + 1))
    # The shell's own printf may lack hexadecimal escapes.
    env printf '%b' "$line" >"$seeds/$number"
  done <"$here/$target.seeds"

  case $target in
  node_stream) words='json msgpack' ;;
  *) words=$target ;;
  esac
  echo '# words' >"$build/$target.dict"
  for word in $words; do
    [ ! -e "$here/$word.dict" ] || cat "$here/$word.dict"
  done >>"$build/$target.dict"

  echo "fuzzing $target for $seconds s"
  "$build/tests/fuzz/fuzz_$target" -max_total_time="$seconds" -max_len=2048 -timeout=10 \
    -rss_limit_mb=1024 -malloc_limit_mb=256 -print_final_stats=1 -verbosity=0 \
    -dict="$build/$target.dict" -artifact_prefix="$build/findings/$target-" \
    "$corpus" "$seeds"
done
