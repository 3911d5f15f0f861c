#!/usr/bin/env bash
# Builds the project with gcc's coverage instrumentation (no optimisation),
# runs the whole test suite, prints line and branch coverage per source folder
# and writes an HTML report to build/coverage/index.html. Installs gcovr from
# Debian's packages when it is missing (brew install gcovr on macOS); CI does
# not run this.
#   scripts/coverage.sh
set -euo pipefail
cd "$(dirname "$0")/.."
build=${PW_COVERAGE_BUILD_DIR:-build/coverage-build}
out=build/coverage
jobs=$(nproc 2>/dev/null || echo 2)

if ! command -v gcovr >/dev/null; then
  SUDO=""; [ "$(id -u)" -eq 0 ] || SUDO="sudo"
  $SUDO apt-get update -qq
  DEBIAN_FRONTEND=noninteractive $SUDO apt-get install -y -qq gcovr
fi

launcher=()
command -v ccache >/dev/null && launcher=(-DCMAKE_C_COMPILER_LAUNCHER=ccache -DCMAKE_CXX_COMPILER_LAUNCHER=ccache)
CC=gcc CXX=g++ cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=Debug -DPW_BUILD_BENCH=OFF \
  -DCMAKE_C_FLAGS="--coverage" -DCMAKE_CXX_FLAGS="--coverage" \
  -DCMAKE_EXE_LINKER_FLAGS="--coverage" "${launcher[@]}" >/dev/null
cmake --build "$build" -j "$jobs"
# Counts from an earlier run would add up with this one's.
find "$build" -name '*.gcda' -delete
# A failing test still leaves its counts; the report is made either way.
status=0
# The full-disk case limits the size of files the tool may write, so the tool
# leaves its counts half written and every later run of it complains about
# them: that one case is left out here.
ctest --test-dir "$build" -j "$jobs" --output-on-failure -E 'FullDiskWhileWritingThePointFile' \
  >"$build/ctest.log" 2>&1 || status=$?
tail -n 3 "$build/ctest.log"

rm -rf "$out"
mkdir -p "$out"
# Branches that only exist for exception unwinding or that the compiler
# proved unreachable are left out: they are not decisions of the code.
gcovr --root . --object-directory "$build" --filter 'src/' \
  --exclude-throw-branches --exclude-unreachable-branches \
  --html-details "$out/index.html" --json-summary "$out/summary.json" -j "$jobs" \
  "$build/src" "$build/tests" "$build/tools" >/dev/null

python3 - "$out/summary.json" <<'PY'
import json, sys, collections
files = json.load(open(sys.argv[1]))["files"]
tot = collections.defaultdict(lambda: [0, 0, 0, 0])
for f in files:
    parts = f["filename"].split("/")
    # src/host/sim is reported on its own, the rest of src/host as src/host.
    folder = "/".join(parts[:3]) if parts[1] == "host" and len(parts) > 3 else "/".join(parts[:2])
    t = tot[folder]
    t[0] += f["line_covered"]; t[1] += f["line_total"]
    t[2] += f["branch_covered"]; t[3] += f["branch_total"]
def pct(a, b):
    return f"{100.0 * a / b:5.1f}%" if b else "    -"
print(f"{'folder':<16} {'lines':>18} {'branches':>18}")
all_ = [0, 0, 0, 0]
for folder in sorted(tot):
    t = tot[folder]
    all_ = [a + b for a, b in zip(all_, t)]
    print(f"{folder:<16} {pct(t[0], t[1])} {t[0]:>5}/{t[1]:<5} {pct(t[2], t[3])} {t[2]:>5}/{t[3]:<5}")
print(f"{'total':<16} {pct(all_[0], all_[1])} {all_[0]:>5}/{all_[1]:<5} {pct(all_[2], all_[3])} {all_[2]:>5}/{all_[3]:<5}")
PY
echo "HTML report: $out/index.html"
[ $status -eq 0 ] || echo "coverage.sh: some tests failed (see $build/ctest.log)"
exit $status
