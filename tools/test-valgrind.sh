#!/usr/bin/env bash
# Runs the black-box test suite (native Debug build in build/) under
# Valgrind memcheck: any invalid access or definite/indirect leak fails.
# The last line is "N passed, M failed, K skipped"; the exit status is
# non-zero when Valgrind reported an error or a test failed. Arguments go to
# the test program.
#
# Environment: KVX_JOBS (parallel jobs, default 2), KVX_SKIP_PACKAGES=1.
set -uo pipefail

KVX_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$KVX_ROOT" || exit 1
# shellcheck source=tools/packages.sh
source "$KVX_ROOT/tools/packages.sh"
DIR=build

kvx_ensure_packages libeigen3-dev cmake ninja-build g++ googletest libgtest-dev valgrind \
  python3 || exit 2

if [ ! -f "$DIR/CMakeCache.txt" ]; then
  kvx_configure "$DIR" -DCMAKE_BUILD_TYPE=Debug -DKVX_BUILD_TESTS=ON ||
    exit 1
fi
cmake --build "$DIR" -j "${KVX_JOBS:-2}" --target kvx_tests || exit 1

# The whole suite runs (no test needs leaving out): about 8 s of CPU time
# under Valgrind, some 12 times the native run.
mkdir -p "$DIR/logs"
log="$DIR/logs/valgrind.log"
report="$DIR/logs/valgrind-results.xml"
rm -f "$report"
valgrind --error-exitcode=1 --leak-check=full \
  --errors-for-leak-kinds=definite,indirect \
  --show-leak-kinds=definite,indirect --num-callers=30 \
  "$DIR/tests/kvx_tests" --gtest_output=xml:"$report" "$@" >"$log" 2>&1
rc=$?
grep -E '^==[0-9]+== (ERROR SUMMARY|   definitely|   indirectly|All heap)' "$log"
status=0
if ! grep -qE '^==[0-9]+== ERROR SUMMARY: 0 errors' "$log"; then
  grep -nE '^==[0-9]+== (Invalid|Conditional|Use of|Mismatched|[0-9,]+ bytes in)' \
    "$log" | head -n 20
  echo "error: Valgrind reported errors (exit status $rc); see $log"
  status=1
fi
if [ ! -s "$report" ]; then
  tail -n 40 "$log"
  echo "error: the suite under Valgrind wrote no report (exit status $rc)"
  exit 1
fi
/usr/bin/python3 "$KVX_ROOT/tools/gtest_tally.py" "$report" || status=1
exit "$status"
