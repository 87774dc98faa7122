#!/usr/bin/env bash
# Regression captures of the decoder: tests/captures/NAME.bin is a zelko-sim stream of a few
# seconds and NAME.jsonl what zelko-decode prints for it; the position suite compares the two.
#
#   scripts/gen_captures.sh            rewrite every NAME.jsonl from the committed streams
#   scripts/gen_captures.sh --record   play the streams anew from their seeds first
#
# The streams are kept as recorded so that a change of the simulator does not change the
# decoder's input; --record is for a new capture or a change of the stream format. Read every
# change of a .jsonl file (git diff tests/captures) before committing it.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${GPSDR_BUILD_DIR:-$root/build/normal}
dir=$root/tests/captures
record=0
mkdir -p "$dir"
[ "${1:-}" = --record ] && record=1

[ -f "$build/build.ninja" ] || cmake -G Ninja -S "$root" -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo >/dev/null
cmake --build "$build" --target zelko-sim zelko-decode >/dev/null

# Host frames (the library's own): queries for version, product, hardware, health and mount
# angle, reset 0 and an unknown system command, mount-angle calibration type 1 and type 5, and a
# set for code 0x80 whose acknowledgement travels escaped.
q_version=81021101E982 q_product=81021203E682 q_hardware=81021204E582 q_health=81021601E482
q_mount=810270602B82 reset=810301F982 bad_system=810304F682
mount_type1=810170600201$(printf '00%.0s' {1..36})2982
mount_type5=810170600205$(printf '00%.0s' {1..36})2582
set_escaped=81018000017B82

# name: zelko-sim options
captures=(
  "drive: --rate 2 --duration 6 --sats 6 --seed 1"
  "noise: --duration 6 --sats 6 --noise 0.9 --corrupt 0.2 --seed 2"
  "tunnel: --duration 7 --sats 6 --tunnel 2:3 --seed 3"
  "cold-start: --duration 7 --sats 6 --cold-start 3 --seed 4 --host 1:$reset --host 1:$bad_system"
  "session: --duration 5 --sats 4 --mount 3:-2 --seed 5 --host 0:$q_version$q_product$q_hardware$q_health$q_mount
   --host 1:$mount_type1 --host 2:$q_mount --host 3:$q_mount$mount_type5 --host 4:$set_escaped"
)
for entry in "${captures[@]}"; do
  name=${entry%%:*}
  # shellcheck disable=SC2086  # the options are words
  if [ $record = 1 ]; then
    "$build/zelko-sim" --output "$dir/$name.bin" ${entry#*:} 2>/dev/null
    [ "$name" != noise ] || truncate -s -4 "$dir/$name.bin"  # ends inside a frame
  fi
  "$build/zelko-decode" "$dir/$name.bin" >"$dir/$name.jsonl"
  echo "$dir/$name.jsonl: $(wc -l <"$dir/$name.jsonl") lines"
done
