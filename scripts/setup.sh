#!/usr/bin/env bash
# Installs what the project needs to build and test on Debian.
# macOS (Homebrew) equivalents: brew install cmake ninja pugixml googletest google-benchmark cli11 libpng isa-l nlohmann-json openssl llvm gd
set -euo pipefail
pkgs=(cmake ninja-build g++ clang libclang-rt-14-dev pkg-config
      libpugixml-dev libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev
      libpng-dev libgd-dev libisal-dev nlohmann-json3-dev libssl-dev)
missing=()
for p in "${pkgs[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "${missing[@]}"
fi
