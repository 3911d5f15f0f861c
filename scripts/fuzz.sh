#!/usr/bin/env bash
# Builds the libFuzzer targets (clang 14, address + undefined-behaviour
# sanitizers; the project's libraries are instrumented for coverage too) and
# runs each for SECONDS seconds (default 60), starting from the committed
# corpus (fuzz/corpus/<target>) plus seeds made by the project's writers, the
# sample E57 files beside the repository (../shared/e57, when present) and the
# saved regression inputs. Prints each target's coverage (edges "cov", features
# "ft") when the starting inputs are loaded and at the end.
# Exits non-zero when any target finds a crash, leak, timeout or OOM; the
# input that did it is kept in $BUILD/artifacts.
#   scripts/fuzz.sh [SECONDS] [TARGET...]
#   scripts/fuzz.sh merge [TARGET...]
#     minimises the committed corpus together with the generated seeds and
#     everything earlier runs found ($BUILD/corpus/<target>, and DIR/<target>
#     for each DIR in PW_FUZZ_MERGE_FROM) back into fuzz/corpus/<target>.
set -uo pipefail
cd "$(dirname "$0")/.."
mode=run
if [ "${1:-}" = merge ]; then
  mode=merge
  shift
  seconds=0
else
  seconds=${1:-60}
  shift || true
fi
targets=("$@")
[ ${#targets[@]} -eq 0 ] && targets=(fuzz_e57_reader fuzz_e57_xml fuzz_convert fuzz_gspc_reader fuzz_preview)
build=${PW_FUZZ_BUILD_DIR:-build/fuzz}
shared=${PW_SHARED_DIR:-../shared}
jobs=$(nproc 2>/dev/null || echo 2)

CC=clang-14 CXX=clang++-14 cmake -S . -B "$build" -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DPW_BUILD_FUZZ=ON -DPW_BUILD_TESTS=OFF -DPW_BUILD_BENCH=OFF -DPW_SANITIZE=address,undefined >/dev/null || exit 1
cmake --build "$build" -j "$jobs" --target "${targets[@]}" fuzz_make_seeds || exit 1

# Each run makes its own seed folder, so that two runs with different targets
# can share the build side by side.
seeds="$build/seeds.$$"
rm -rf "$seeds"
trap 'rm -rf "$seeds"' EXIT
samples=()
[ -d "$shared/e57" ] && samples=("$shared"/e57/*.e57)
# The generated files, plus the XML sections of the sample files.
"$build/fuzz/fuzz_make_seeds" "$seeds" "${samples[@]}" || exit 1
mkdir -p "$seeds/shared" "$seeds/regressions-e57" "$seeds/regressions-xml" "$seeds/regressions-gspc" \
  "$seeds/regressions-preview"
if [ ${#samples[@]} -gt 0 ]; then
  # Linked, not copied: the sample files stay where they are.
  for f in "${samples[@]}"; do ln -sf "$(realpath "$f")" "$seeds/shared/"; done
else
  echo "fuzz.sh: no sample files at $shared/e57; seeding with generated files only"
fi
for kind in e57 xml gspc preview; do
  for f in tests/data/regressions/*."$kind"; do
    [ -e "$f" ] && ln -sf "$(realpath "$f")" "$seeds/regressions-$kind/"
  done
done

export ASAN_OPTIONS=${ASAN_OPTIONS:-detect_leaks=1:abort_on_error=1}
export UBSAN_OPTIONS=${UBSAN_OPTIONS:-print_stacktrace=1:halt_on_error=1}
mkdir -p "$build/artifacts"
failed=0
for t in "${targets[@]}"; do
  case $t in
    fuzz_e57_reader|fuzz_convert) dirs=("$seeds/e57" "$seeds/shared" "$seeds/regressions-e57"); maxlen=1310720 ;;
    fuzz_e57_xml) dirs=("$seeds/xml" "$seeds/regressions-xml"); maxlen=65536 ;;
    fuzz_gspc_reader) dirs=("$seeds/gspc" "$seeds/regressions-gspc"); maxlen=65536 ;;
    fuzz_preview) dirs=("$seeds/preview" "$seeds/regressions-preview"); maxlen=65536 ;;
    *) echo "fuzz.sh: unknown target $t"; exit 2 ;;
  esac
  committed="fuzz/corpus/$t"
  corpus="$build/corpus/$t"
  mkdir -p "$corpus" "$committed"
  if [ $mode = merge ]; then
    # Only what adds coverage is kept, from units of at most $unitmax bytes
    # (larger ones are mostly copies of the sample files): the corpus stays
    # small and every unit is read whole by the runs. The sample files
    # themselves are not taken in; the runs link them as seeds.
    unitmax=${PW_FUZZ_UNIT_MAX:-16384}
    echo "=== $t: merge into $committed ==="
    fresh="$build/merged/$t"
    staged="$build/merge-input/$t"
    rm -rf "$fresh" "$staged"
    mkdir -p "$fresh" "$staged"
    sources=("$committed" "$corpus")
    for d in ${PW_FUZZ_MERGE_FROM:-}; do [ -d "$d/$t" ] && sources+=("$d/$t"); done
    for d in "${dirs[@]}"; do [ "$d" != "$seeds/shared" ] && sources+=("$d"); done
    find -L "${sources[@]}" -maxdepth 1 -type f -size -$((unitmax + 1))c -exec cp -n {} "$staged/" \; 2>/dev/null
    "$build/fuzz/$t" -merge=1 -max_len="$maxlen" -rss_limit_mb=2048 -timeout=10 \
      "$fresh" "$staged" >"$build/$t-merge.log" 2>&1 || {
      echo "fuzz.sh: merge of $t FAILED; log: $build/$t-merge.log"; failed=1; continue; }
    grep -E 'MERGE-OUTER: [0-9]+ new files' "$build/$t-merge.log" || true
    # Merged units are named by their SHA-1: drop any that is a sample file.
    for f in "${samples[@]}"; do
      rm -f "$fresh/$(sha1sum "$f" | cut -d' ' -f1)"
    done
    rm -rf "$committed"
    mv "$fresh" "$committed"
    echo "$t: $(find "$committed" -type f | wc -l) files, $(du -sk "$committed" | cut -f1) KiB"
    continue
  fi
  echo "=== $t: ${seconds}s ==="
  TIMEFORMAT="cpu time: %U s user, %S s system, %R s elapsed"
  { time "$build/fuzz/$t" "$corpus" "$committed" "${dirs[@]}" -max_total_time="$seconds" -max_len="$maxlen" \
    -rss_limit_mb=2048 -timeout=10 -dict=fuzz/e57.dict -print_final_stats=1 \
    -artifact_prefix="$build/artifacts/$t-" 2>"$build/$t.log"; } 2>"$build/$t.time"
  rc=$?
  cat "$build/$t.time"
  # libFuzzer's status lines: "#N INITED cov: E ft: F corp: ..." once the
  # starting inputs are run, then "#N DONE cov: ..." (or the last progress
  # line when the run stopped on a finding).
  start=$(grep -m1 -E '^#[0-9]+[[:space:]]+INITED' "$build/$t.log" | grep -oE 'cov: [0-9]+ ft: [0-9]+')
  end=$(grep -E '^#[0-9]+[[:space:]]+(INITED|NEW|REDUCE|pulse|DONE|RELOAD)' "$build/$t.log" | tail -1 | grep -oE 'cov: [0-9]+ ft: [0-9]+')
  echo "coverage at start: ${start:-unknown}"
  echo "coverage at end:   ${end:-unknown}"
  grep -E '^(stat::number_of_executed_units|stat::peak_rss_mb|Done )' "$build/$t.log" || true
  if [ $rc -ne 0 ]; then
    echo "fuzz.sh: $t FAILED (exit $rc); log: $build/$t.log"
    grep -E 'ERROR|SUMMARY|#[0-9]+ 0x' "$build/$t.log" | head -30
    failed=1
  fi
done
exit $failed
