#!/usr/bin/env bash
# Installs what a fresh machine lacks for building and testing (needs root for apt-get).
set -euo pipefail
need=()
for pkg in cmake ninja-build g++ clang libclang-rt-14-dev googletest libbenchmark-dev \
           openjdk-17-jdk-headless g++-arm-linux-gnueabihf qemu-user python3 libncurses-dev tmux \
           gpsd gpsd-clients; do
  dpkg -s "$pkg" >/dev/null 2>&1 || need+=("$pkg")
done
if [ ${#need[@]} -gt 0 ]; then
  echo "setup: installing ${need[*]}"
  if [ "$(id -u)" -ne 0 ]; then
    echo "setup: missing packages and not root: ${need[*]}" >&2
    exit 1
  fi
  export DEBIAN_FRONTEND=noninteractive
  apt-get update -qq
  apt-get install -y -qq "${need[@]}" >/dev/null
fi
