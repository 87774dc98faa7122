#!/usr/bin/env bash
# Runs every libFuzzer target of build/fuzz for a bounded time each (default 60 s).
set -uo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
seconds=${1:-60}
status=0
shopt -s nullglob
for src in "$root"/tests/fuzz/*.cpp; do
  name=$(basename "$src" .cpp)
  corpus="$root/build/fuzz/corpus-$name"
  mkdir -p "$corpus"
  cp -n "$root"/tests/captures/*.bin "$corpus"/  # real streams as seeds
  echo "==== fuzz $name (${seconds}s)"
  if ! "$root/build/fuzz/$name" -max_total_time="$seconds" -print_final_stats=1 \
        -artifact_prefix="$root/build/fuzz/$name-" "$corpus" 2>"$root/build/fuzz/$name.log"; then
    tail -50 "$root/build/fuzz/$name.log"
    status=1
  else
    grep -E 'stat::number_of_executed_units|Done' "$root/build/fuzz/$name.log" | tail -2
  fi
done
exit $status
