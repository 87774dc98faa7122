#!/usr/bin/env bash
# Soak run (not part of CI): the library against zelko-sim at 10 Hz with noise and corrupt
# frames for MINUTES, started and read as the Java side does. Prints memory, CPU, threads and
# positions once a minute and fails if memory or threads grow after warm-up, positions stop, or
# a thread outlives the stop. As root /dev/ttyGPS1 is linked to the simulator; otherwise the
# facade is pointed at the pty directly.
#   scripts/soak.sh [MINUTES]     (30)
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
minutes=${1:-30}
dir="$root/build/soak"
cmake -G Ninja -S "$root" -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DCMAKE_CXX_COMPILER=g++ -DCMAKE_C_COMPILER=gcc -DGPSDR_TESTS=OFF >/dev/null
cmake --build "$dir" --target gpsdr-soak zelko-sim
exec "$dir/gpsdr-soak" --minutes "$minutes"
