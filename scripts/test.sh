#!/usr/bin/env bash
# Builds and runs every test: the release build, the address +
# undefined-behaviour sanitizer build, then the release build as C++20.
# Installs what is missing first.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup.sh
jobs=$(nproc 2>/dev/null || echo 2)
for preset in release asan cxx20; do
  echo "=== $preset ==="
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j "$jobs"
  ctest --preset "$preset" -j "$jobs"
done
