#!/usr/bin/env bash
# Installs what a fresh Debian machine lacks. "demo" is what scripts/demo.sh needs (compilers,
# CMake, the JDK); "all" (the default) adds what scripts/test.sh needs (clang and its sanitizer
# runtimes, GoogleTest, Google Benchmark, the ARM cross compiler and qemu, rsvg-convert, curses
# and tmux for the live monitor, gpsd and its clients for the NMEA bridge).
# apt-get needs root: without it the missing packages and the command are named instead.
#   scripts/setup.sh [demo|all]
set -euo pipefail
demo=(cmake ninja-build g++ openjdk-17-jdk-headless)
all=("${demo[@]}" clang libclang-rt-14-dev googletest libbenchmark-dev g++-arm-linux-gnueabihf qemu-user
     python3 librsvg2-bin libncurses-dev tmux gpsd gpsd-clients)
case "${1:-all}" in
  demo) wanted=("${demo[@]}") ;;
  all)  wanted=("${all[@]}") ;;
  *) echo "setup: unknown package set '$1' (demo or all)" >&2; exit 2 ;;
esac
need=()
for pkg in "${wanted[@]}"; do
  dpkg -s "$pkg" >/dev/null 2>&1 || need+=("$pkg")
done
[ ${#need[@]} -eq 0 ] && exit 0
if [ "$(id -u)" -ne 0 ]; then
  echo "setup: these packages are missing: ${need[*]}" >&2
  echo "setup: install them as root, then run this again:" >&2
  echo "  sudo apt-get update && sudo apt-get install -y ${need[*]}" >&2
  exit 1
fi
echo "setup: installing ${need[*]}"
export DEBIAN_FRONTEND=noninteractive
apt-get update -qq
apt-get install -y -qq "${need[@]}" >/dev/null
