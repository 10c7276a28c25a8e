#!/usr/bin/env bash
# Builds the libFuzzer targets (build-fuzz/, clang with AddressSanitizer and
# UndefinedBehaviorSanitizer), replays every committed regression input
# (tests/fuzz/regressions/<target>/) and runs each target briefly from its
# seed corpus. Fails on any finding: crash, sanitizer report, leak, timeout
# or out-of-memory.
#
#   tools/test-fuzz.sh                 build, replay, 10 s per target
#   tools/test-fuzz.sh --build-only    build only (used by tools/fuzz.sh)
# Environment: KVX_FUZZ_SECONDS (per target, default 10), KVX_JOBS.
set -uo pipefail

KVX_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$KVX_ROOT" || exit 1
# shellcheck source=tools/packages.sh
source "$KVX_ROOT/tools/packages.sh"
kvx_ensure_packages cmake ninja-build clang libclang-rt-14-dev time || exit 2

BUILD=$KVX_ROOT/build-fuzz
FUZZ_SRC=$KVX_ROOT/tests/fuzz
# -O1 keeps the targets fast while stack traces stay readable.
CC=clang CXX=clang++ kvx_configure "$BUILD" -DCMAKE_BUILD_TYPE=Debug \
  -DCMAKE_CXX_FLAGS_DEBUG="-g -O1" -DKVX_FUZZ=ON -DKVX_BUILD_TESTS=OFF \
  -DKVX_BUILD_TOOLS=OFF -DKVX_BUILD_BENCH=OFF >/dev/null &&
  cmake --build "$BUILD" -j "${KVX_JOBS:-2}" --target kvx_fuzz || exit 1
[ "${1:-}" = --build-only ] && exit 0

# Allocation failures come back as codes (the library catches bad_alloc)
# instead of stopping the run; everything else stops it.
export ASAN_OPTIONS=allocator_may_return_null=1:detect_leaks=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1
SECONDS_EACH=${KVX_FUZZ_SECONDS:-10}
PASSED=0
FAILED=0
mkdir -p "$BUILD/short"
for src in "$FUZZ_SRC"/fuzz_*.cpp; do
  name=$(basename "$src" .cpp)
  target=${name#fuzz_}
  bin=$BUILD/tests/fuzz/$name
  log=$BUILD/short/$target.log
  regressions=("$FUZZ_SRC/regressions/$target"/*)
  if [ -e "${regressions[0]}" ]; then
    if "$bin" "${regressions[@]}" >"$log.replay" 2>&1; then
      echo "$target: ${#regressions[@]} regression inputs replayed"
    else
      echo "FAILED $target: a regression input fails again:"
      tail -n 30 "$log.replay"
      FAILED=$((FAILED + 1))
      continue
    fi
  fi
  work=$BUILD/short/corpus-$target
  rm -rf "$work" "$BUILD/short/findings-$target"
  mkdir -p "$work" "$BUILD/short/findings-$target"
  if nice -n 10 "$bin" -max_total_time="$SECONDS_EACH" -timeout=25 \
    -rss_limit_mb=2048 -print_final_stats=1 -dict="$FUZZ_SRC/$target.dict" \
    -artifact_prefix="$BUILD/short/findings-$target/" \
    "$work" "$FUZZ_SRC/corpus/$target" >"$log" 2>&1; then
    runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    echo "$target: ${runs:-?} runs in ${SECONDS_EACH} s, no finding"
    PASSED=$((PASSED + 1))
  else
    echo "FAILED $target: finding in $BUILD/short/findings-$target/:"
    grep -E 'ERROR|SUMMARY|runtime error' "$log" | head -n 5
    tail -n 30 "$log"
    FAILED=$((FAILED + 1))
  fi
done
echo "fuzz summary: $PASSED targets clean, $FAILED with findings"
[ "$FAILED" -eq 0 ]
