#!/usr/bin/env bash
# The core, the command-line tool and the test suite on 64-bit Arm: cross-built
# with Debian's aarch64 cross compiler and run under qemu-user.
#   1. installs the cross compiler, qemu-user and the :arm64 -dev packages
#      (scripts/setup.sh --aarch64);
#   2. builds into build/aarch64 (cmake/aarch64-linux-gnu.cmake) and runs the
#      tests with ctest, each under qemu-aarch64: all but the bad-input matrix
#      (label "matrix"), whose runs under a 1 GiB address-space limit cannot
#      work under qemu-user (the emulator itself reserves more) and would take
#      most of an hour; it runs natively in scripts/test.sh.
#      PW_AARCH64_CTEST_ARGS replaces that choice (e.g. "-R Crc32c").
#   3. converts the shared sample files and a synthetic scan with the arm64
#      and the x86-64 punktwolke (build/release, built if missing) and checks
#      that the point files, and the synthetic E57 file itself, are the same
#      bytes (SHA-256).
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
jobs=$(nproc 2>/dev/null || echo 2)
shared=${PW_SHARED_DIR:-$root/../shared}/e57

bash scripts/setup.sh --aarch64

launcher=()
if command -v ccache >/dev/null; then
  launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
fi

echo "=== aarch64: build ==="
cmake -S . -B build/aarch64 -G Ninja -DCMAKE_TOOLCHAIN_FILE=cmake/aarch64-linux-gnu.cmake \
      -DCMAKE_BUILD_TYPE=Release -DPW_BUILD_BENCH=OFF -DPW_SELF_CONTAINED=ON \
      -DPW_SHARED_DIR="${PW_SHARED_DIR:-$root/../shared}" "${launcher[@]}" >/dev/null
cmake --build build/aarch64 -j "$jobs"
file build/aarch64/src/punktwolke | grep -q 'ARM aarch64' || {
  echo "test-aarch64: build/aarch64/src/punktwolke is not an arm64 program" >&2; exit 1; }

echo "=== aarch64: tests under qemu-aarch64 ==="
read -r -a select <<<"${PW_AARCH64_CTEST_ARGS:--LE matrix}"
ctest --test-dir build/aarch64 -j "$jobs" --output-on-failure --timeout 600 "${select[@]}"

echo "=== aarch64: same bytes as x86-64 ==="
if [ ! -x build/release/src/punktwolke ]; then
  cmake --preset release >/dev/null
  cmake --build build/release --target punktwolke -j "$jobs"
fi
x86=("$root/build/release/src/punktwolke")
arm=(qemu-aarch64 -L / "$root/build/aarch64/src/punktwolke")   # loader prefix: see cmake/aarch64-linux-gnu.cmake
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

compared=0
mismatch=0
# Runs one conversion with both programs; the exit status, and the point file
# if there is one, must agree.
compare_convert() {  # input density tag
  local in=$1 density=$2 tag=$3 rx=0 ra=0
  "${x86[@]}" convert -d "$density" -o "$work/$tag.x86.gspc" "$in" >/dev/null 2>"$work/$tag.x86.err" || rx=$?
  "${arm[@]}" convert -d "$density" -o "$work/$tag.arm.gspc" "$in" >/dev/null 2>"$work/$tag.arm.err" || ra=$?
  compared=$((compared + 1))
  if [ "$rx" -ne "$ra" ]; then
    echo "differs: $tag: exit status $rx on x86-64, $ra on arm64"; mismatch=1; return
  fi
  if [ -f "$work/$tag.x86.gspc" ] || [ -f "$work/$tag.arm.gspc" ]; then
    local hx ha
    hx=$(sha256sum <"$work/$tag.x86.gspc" | cut -d' ' -f1)
    ha=$(sha256sum <"$work/$tag.arm.gspc" | cut -d' ' -f1)
    if [ "$hx" != "$ha" ]; then
      echo "differs: $tag: $hx on x86-64, $ha on arm64"; mismatch=1; return
    fi
    echo "same: $tag ($hx)"
  else
    echo "same: $tag (both fail with status $rx)"
  fi
}

samples=("$shared"/*.e57)
if [ -e "${samples[0]}" ]; then
  for f in "${samples[@]}"; do
    for d in 100 10; do
      compare_convert "$f" "$d" "$(basename "$f" .e57)-$d"
    done
  done
else
  echo "note: no sample files in $shared; comparing the synthetic scan only"
fi

# A synthetic scan (mixed encodings, colour, poses) written by each build.
"${x86[@]}" synth --points 300000 --scans 5 --seed 7 "$work/synth.x86.e57" >/dev/null
"${arm[@]}" synth --points 300000 --scans 5 --seed 7 "$work/synth.arm.e57" >/dev/null
if cmp -s "$work/synth.x86.e57" "$work/synth.arm.e57"; then
  echo "same: synthetic E57 ($(sha256sum <"$work/synth.x86.e57" | cut -d' ' -f1))"
else
  echo "differs: synthetic E57 written on x86-64 and on arm64"; mismatch=1
fi
for d in 100 7; do
  compare_convert "$work/synth.x86.e57" "$d" "synth-$d"
done

if [ "$mismatch" -ne 0 ]; then
  echo "test-aarch64: arm64 and x86-64 results differ" >&2
  exit 1
fi
echo "test-aarch64: $compared conversions and the synthetic scan give the same bytes on arm64 and x86-64"
