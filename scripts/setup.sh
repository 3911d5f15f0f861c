#!/usr/bin/env bash
# Installs what the project needs to build and test on Debian.
# macOS (Homebrew) equivalents: brew install cmake ninja pugixml googletest google-benchmark cli11 libpng nlohmann-json openssl llvm gd
#   --aarch64  also the arm64 cross build of scripts/test-aarch64.sh: Debian's
#              aarch64 cross compiler, qemu-user and the :arm64 -dev packages
#              (no Homebrew equivalent; that check runs on Debian only)
#   --package  also what scripts/package.sh needs on Debian (dpkg-dev for
#              dpkg-shlibdeps, file)
set -euo pipefail
pkgs=(cmake ninja-build g++ clang libclang-rt-14-dev pkg-config ccache file
      libpugixml-dev libgtest-dev libgmock-dev libbenchmark-dev libcli11-dev
      libpng-dev libgd-dev nlohmann-json3-dev libssl-dev)
cross=0
for arg in "$@"; do
  case "$arg" in
    --aarch64)
      cross=1
      pkgs+=(g++-aarch64-linux-gnu qemu-user libc6:arm64 libstdc++6:arm64
             libpugixml-dev:arm64 libgtest-dev:arm64 libgmock-dev:arm64 libpng-dev:arm64 libgd-dev:arm64 libssl-dev:arm64) ;;
    --package)
      pkgs+=(dpkg-dev) ;;
    *) echo "setup.sh: unknown option $arg" >&2; exit 2 ;;
  esac
done
SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO="sudo"
updated=0
if [ "$cross" -eq 1 ] && ! dpkg --print-foreign-architectures | grep -qx arm64; then
  $SUDO dpkg --add-architecture arm64
  $SUDO apt-get update -qq
  updated=1
fi
missing=()
for p in "${pkgs[@]}"; do
  dpkg -s "$p" >/dev/null 2>&1 || missing+=("$p")
done
if [ ${#missing[@]} -gt 0 ]; then
  [ "$updated" -eq 1 ] || $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq "${missing[@]}"
fi
