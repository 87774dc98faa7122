#!/usr/bin/env bash
# Builds one variant into build/<variant>:
#   normal  g++, optimised with debug info, benchmarks included
#   asan    clang, AddressSanitizer + UndefinedBehaviorSanitizer
#   tsan    clang, ThreadSanitizer
#   arm     arm-linux-gnueabihf (32-bit), tests run under qemu-arm
#   fuzz    clang libFuzzer targets (tests/fuzz)
set -euo pipefail
variant=${1:-normal}
root=$(cd "$(dirname "$0")/.." && pwd)
dir="$root/build/$variant"
args=(-G Ninja -S "$root" -B "$dir" -DCMAKE_BUILD_TYPE=RelWithDebInfo)
case "$variant" in
  normal) args+=(-DCMAKE_CXX_COMPILER=g++ -DCMAKE_C_COMPILER=gcc -DGPSDR_BENCH=ON) ;;
  asan)   args+=(-DCMAKE_CXX_COMPILER=clang++ -DCMAKE_C_COMPILER=clang -DGPSDR_SANITIZE=address) ;;
  tsan)   args+=(-DCMAKE_CXX_COMPILER=clang++ -DCMAKE_C_COMPILER=clang -DGPSDR_SANITIZE=thread) ;;
  arm)    args+=(-DCMAKE_TOOLCHAIN_FILE="$root/cmake/arm-linux-gnueabihf.cmake") ;;
  fuzz)   args+=(-DCMAKE_CXX_COMPILER=clang++ -DCMAKE_C_COMPILER=clang -DGPSDR_SANITIZE=address
                 -DGPSDR_FUZZ=ON -DGPSDR_TESTS=OFF) ;;
  *) echo "unknown variant: $variant (normal, asan, tsan, arm, fuzz)" >&2; exit 2 ;;
esac
cmake "${args[@]}" >/dev/null
cmake --build "$dir" -j "$(nproc)"
