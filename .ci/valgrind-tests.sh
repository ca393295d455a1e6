#!/usr/bin/env bash
# Runs every test program of a Debug build under valgrind's memcheck: any
# invalid read or write, use of uninitialised memory or leak fails the run.
#   .ci/valgrind-tests.sh [BUILD_DIR]     (default: build/test, the `test` preset)
# The build is configured and built with the `test` preset when missing.
set -euo pipefail
cd "$(dirname "$0")/.."

build_dir=${1:-build/test}
if [ ! -f "$build_dir/CMakeCache.txt" ]; then
  cmake --preset test
fi
cmake --build "$build_dir" -j2

programs=()
for program in expression_tests random_seed_tests curve_tests fileio_tests tool_tests tool_unit_tests c_api_tests; do
  [ -x "$build_dir/tests/$program" ] && programs+=("$build_dir/tests/$program")
done
[ ${#programs[@]} -gt 0 ] || { echo "no test programs in $build_dir/tests" >&2; exit 2; }

# VALGRIND_GTEST_FILTER narrows the run (a gtest filter; default: all).
filter=${VALGRIND_GTEST_FILTER:-"*"}

status=0
for program in "${programs[@]}"; do
  log="$build_dir/valgrind-$(basename "$program").log"
  output="$build_dir/valgrind-$(basename "$program").out"
  echo "== memcheck: $(basename "$program")"
  # Child processes (the tool the tool tests start, the fresh copy a death
  # test starts) run without valgrind; each program is checked on its own.
  if valgrind --tool=memcheck --error-exitcode=1 --leak-check=full --show-leak-kinds=definite,indirect,possible \
       --errors-for-leak-kinds=definite,indirect,possible --track-origins=yes --quiet \
       --log-file="$log" "$program" --gtest_brief=1 --gtest_filter="$filter" >"$output" 2>&1; then
    echo "   clean"
  else
    echo "!! $(basename "$program") failed under memcheck:"
    tail -n 40 "$output"
    tail -n 80 "$log"
    status=1
  fi
done
exit $status
