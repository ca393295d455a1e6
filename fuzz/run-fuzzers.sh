#!/usr/bin/env bash
# Runs each fuzz target for a fixed time on a scratch copy of its committed
# seed corpus and fails on the first crash, leak, sanitizer report or hang.
#   run-fuzzers.sh BUILD_DIR CORPUS_DIR SECONDS [TARGET...]
# The curve-file target also runs on a build with the debug assertions on
# (the fuzz-assertions preset builds only it):
#   run-fuzzers.sh build/fuzz-assertions/fuzz fuzz/corpus 60 fuzz_curve_load
set -euo pipefail

build_dir=$1
corpus_dir=$2
seconds=$3
shift 3
targets=("$@")
[ ${#targets[@]} -gt 0 ] || targets=(fuzz_expression fuzz_curve_load fuzz_curve_edit fuzz_c_api)

export ASAN_OPTIONS="detect_leaks=1:abort_on_error=1:${ASAN_OPTIONS:-}"
export UBSAN_OPTIONS="print_stacktrace=1:halt_on_error=1:${UBSAN_OPTIONS:-}"

work_dir="$build_dir/work"
status=0
for target in "${targets[@]}"; do
  scratch="$work_dir/$target"
  rm -rf "$scratch"
  mkdir -p "$scratch/corpus" "$scratch/artifacts"
  cp -R "$corpus_dir/$target/." "$scratch/corpus/"
  echo "== $target: ${seconds}s"
  if "$build_dir/$target" "$scratch/corpus" -max_total_time="$seconds" -max_len=4096 \
       -timeout=20 -print_final_stats=1 -artifact_prefix="$scratch/artifacts/" \
       >"$scratch/log" 2>&1; then
    grep -E '^#[0-9]+[[:space:]]+DONE|^stat::number_of_executed_units|^stat::peak_rss_mb' "$scratch/log" || true
  else
    echo "!! $target failed; last lines of $scratch/log:"
    tail -n 60 "$scratch/log"
    ls -l "$scratch/artifacts"
    status=1
  fi
done
exit $status
