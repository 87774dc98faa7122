#!/usr/bin/env bash
# Runs the demo: builds the normal variant, plays zelko-sim on a pseudo-terminal, drives the
# library through its native interface and prints once a second what Java's sendGISInfo would
# receive; then writes the delivered track and the simulated ground truth as GPX and SVG.
# Needs no root and no hardware. Options go to gpsdr-demo:
#   scripts/demo.sh [--seconds N] [--seed N] [--rate HZ] [--out DIR]    (20 s into build/demo)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
"$root/scripts/setup.sh"
"$root/scripts/build.sh" normal
exec "$root/build/normal/gpsdr-demo" --out "$root/build/demo" "$@"
