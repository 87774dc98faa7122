#!/usr/bin/env bash
# Runs the demo: zelko-sim plays the module on a pseudo-terminal that the JVM sees as
# /dev/ttyGPS1, the JVM runs libgpsdr.so through com.corvane.velmorith.NativeCall, and every
# sendGISInfo call Java receives is printed; then the track as GPX and SVG in build/demo.
# Needs no root (the device is shown in a namespace of the JVM's own) and no hardware; builds
# only the demo's programs, the library and the Java classes, into build/demo-bin.
#   scripts/demo.sh [--seconds N] [--seed N] [--rate HZ] [--out DIR]    (20 calls into build/demo)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
dir="$root/build/demo-bin"
echo "demo: checking the packages it needs"
"$root/scripts/setup.sh" demo
echo "demo: building zelko-sim, libgpsdr.so, the Java classes and gpsdr-demo into build/demo-bin"
cmake -G Ninja -S "$root" -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo -DGPSDR_TESTS=OFF >/dev/null
cmake --build "$dir" --target gpsdr-demo
echo "demo: running"
exec "$dir/gpsdr-demo" --out "$root/build/demo" "$@"
