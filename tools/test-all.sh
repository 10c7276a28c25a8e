#!/usr/bin/env bash
# Builds every configuration of KelvoCalibrate and runs every test:
#   build-mingw/  32-bit Windows DLL (MinGW-w64): export-table check, a
#                 Windows host and the black-box suite under Wine
#   build-package/ release archives; Windows hosts linking the import libraries
#   build/        native x86-64: all tests, the Windows export check, the
#                 black-box suite under Valgrind
#   build-x86/    32-bit Linux (-m32): all tests
#   build-asan/   native with AddressSanitizer + UndefinedBehaviorSanitizer
#   build-fuzz/   libFuzzer targets: short runs and regression inputs
#   build-bench/  the benchmarks compile (Release); the churn test runs
#   python/       the Python package and kelvo, against build/'s module
# Installs missing Debian packages first (as root). Ends with the line
# "N passed, M failed" over all configurations and exits non-zero on any
# failure.
#
# Environment: KVX_JOBS (parallel jobs, default 2), KVX_SKIP_PACKAGES=1.
set -uo pipefail

KVX_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$KVX_ROOT" || exit 1
# shellcheck source=tools/packages.sh
source "$KVX_ROOT/tools/packages.sh"
JOBS=${KVX_JOBS:-2}

kvx_ensure_packages cmake ninja-build g++ g++-multilib g++-mingw-w64-i686 \
  binutils-mingw-w64-i686 googletest libgtest-dev libbenchmark-dev clang llvm \
  pkgconf clang-format-14 python3 libeigen3-dev ||
  exit 2

PASSED=0
FAILED=0
SKIPPED=0
FAILURES=()

pass() { PASSED=$((PASSED + 1)); }
fail() {
  FAILED=$((FAILED + 1))
  FAILURES+=("$1")
}

# step <label> <log> <command>...: runs a command with its output in <log>;
# on failure shows the end of the log.
step() {
  local label=$1 log=$2
  shift 2
  echo "== $label"
  mkdir -p "$(dirname "$log")"
  if "$@" >"$log" 2>&1; then
    return 0
  fi
  echo "-- $label failed; last lines of $log:"
  tail -n 40 "$log"
  return 1
}

# build_config <dir> <target-or-empty> <cmake args>...: configure and build.
build_config() {
  local dir=$1 target=$2
  shift 2
  local targets=()
  if [ -n "$target" ]; then
    targets=(--target "$target")
  fi
  step "$dir: configure" "$dir/logs/configure.log" \
    kvx_configure "$dir" "$@" &&
    step "$dir: build" "$dir/logs/build.log" \
      cmake --build "$dir" -j "$JOBS" "${targets[@]}"
}

# run_ctest <dir>: runs the folder's tests and adds them to the tally.
run_ctest() {
  local dir=$1 log="$1/logs/ctest.log"
  echo "== $dir: tests"
  ctest --test-dir "$dir" --output-on-failure --timeout 600 -j "$JOBS" 2>&1 |
    tee "$log"
  local summary total failed skipped
  summary=$(grep -E '[0-9]+ tests failed out of [0-9]+' "$log" | tail -n 1)
  if [ -z "$summary" ]; then
    fail "$dir: no test results"
    return
  fi
  total=$(sed -E 's/.* out of ([0-9]+).*/\1/' <<<"$summary")
  failed=$(sed -E 's/.*, ([0-9]+) tests failed.*/\1/' <<<"$summary")
  skipped=$(grep -cE '^[[:space:]]*[0-9]+ - .* \(Skipped\)$' "$log")
  PASSED=$((PASSED + total - failed - skipped))
  FAILED=$((FAILED + failed))
  SKIPPED=$((SKIPPED + skipped))
  local name
  while read -r name; do
    [ -n "$name" ] && FAILURES+=("$dir: $name")
  done < <(sed -n '/The following tests FAILED:/,/^$/p' "$log" |
    sed -nE 's/^[[:space:]]*[0-9]+ - (.*)$/\1/p')
}

# run_counted <label> <log> <command>...: runs a test script whose output
# ends with "N passed, M failed[, K skipped]" (its failed tests listed as
# "FAILED: name") and adds its counts to the tally. A script that fails
# without a failed test (Valgrind errors, say) counts as one failure.
run_counted() {
  local label=$1 log=$2
  shift 2
  echo "== $label"
  mkdir -p "$(dirname "$log")"
  "$@" >"$log" 2>&1
  local rc=$? line p f s name
  line=$(grep -E '^[0-9]+ passed, [0-9]+ failed' "$log" | tail -n 1)
  if [ -z "$line" ]; then
    tail -n 40 "$log"
    fail "$label: no test results (exit status $rc)"
    return
  fi
  echo "   $line"
  read -r p f s < <(sed -E \
    's/^([0-9]+) passed, ([0-9]+) failed(, ([0-9]+) skipped)?.*/\1 \2 \4/' \
    <<<"$line")
  PASSED=$((PASSED + p))
  FAILED=$((FAILED + f))
  SKIPPED=$((SKIPPED + ${s:-0}))
  while read -r name; do
    [ -n "$name" ] && FAILURES+=("$label: $name")
  done < <(sed -nE 's/^FAILED: (.*)$/\1/p' "$log")
  if [ "$rc" -ne 0 ] && [ "$f" -eq 0 ]; then
    tail -n 20 "$log"
    fail "$label: exit status $rc"
  fi
}

START=$(date +%s)

# Every C and C++ file follows .clang-format, as clang-format 14 (Debian
# bookworm's) formats it: other major versions place some constructs
# differently, so the check insists on 14.
mkdir -p build/logs
CLANG_FORMAT=$(command -v clang-format-14 || command -v clang-format || true)
export CLANG_FORMAT
if ! "${CLANG_FORMAT:-clang-format}" --version 2>/dev/null |
  grep -qE 'version 14\.'; then
  echo "== format"
  echo "error: the format check needs clang-format 14 (apt-get install" \
    "clang-format-14); found: $("${CLANG_FORMAT:-clang-format}" --version \
      2>&1 | head -n 1)"
  fail "format: clang-format 14 missing"
elif step "format" build/logs/format.log \
  bash -c 'find include src tests tools bench -name "*.cpp" -o -name "*.h" \
    -o -name "*.c" | xargs "$CLANG_FORMAT" --dry-run -Werror'; then
  pass
else
  fail "format: run clang-format-14 -i on the files listed above"
fi

# Windows module first: the native tests check its export table too.
if build_config build-mingw KelvoCalibrate -DCMAKE_BUILD_TYPE=Release \
  -DCMAKE_TOOLCHAIN_FILE="$KVX_ROOT/cmake/toolchain-mingw-i686.cmake"; then
  pass
  if step "build-mingw: export table" build-mingw/logs/exports.log \
    cmake -DOBJDUMP=i686-w64-mingw32-objdump \
    -DMODULE="$KVX_ROOT/build-mingw/KelvoCalibrate.kvx" \
    -DLIST="$KVX_ROOT/src/api/exports.txt" \
    -P "$KVX_ROOT/tests/build/check_windows_exports.cmake"; then
    cat build-mingw/logs/exports.log
    pass
  else
    fail "build-mingw: export table"
  fi
else
  fail "build-mingw: build"
fi

# Release archives; Windows hosts built from the win32 archive alone link its
# import libraries (MSVC ABI and MinGW-w64) and run under Wine.
if step "release: archives and linking hosts" \
  build-package/logs/windows-link.log tools/test-windows-link.sh; then
  tail -n 1 build-package/logs/windows-link.log
  pass
else
  fail "release: archives and linking hosts"
fi

# The black-box suite, built for Windows, against the DLL under Wine.
run_counted "build-mingw: suite under Wine" build-mingw/logs/wine-suite.log \
  tools/test-wine.sh

if build_config build "" -DCMAKE_BUILD_TYPE=Debug -DKVX_BUILD_TESTS=ON \
  -DKVX_BUILD_TOOLS=ON -DKVX_BUILD_BENCH=OFF -DKVX_SANITIZE=OFF \
  -DKVX_WINDOWS_MODULE="$KVX_ROOT/build-mingw/KelvoCalibrate.kvx" \
  -DKVX_REQUIRE_WINDOWS_MODULE=ON; then
  run_ctest build
else
  fail "build: build"
fi

# The Python package and the kelvo command, against the native module.
if step "python: kelvocalibrate and kelvo" build/logs/python.log \
  bash tools/test-python.sh; then
  tail -n 1 build/logs/python.log
  pass
else
  fail "python: kelvocalibrate and kelvo (see build/logs/python.log)"
fi

# The black-box suite of build/ under Valgrind memcheck.
run_counted "build: suite under Valgrind" build/logs/valgrind-suite.log \
  tools/test-valgrind.sh

if build_config build-x86 "" -DCMAKE_BUILD_TYPE=Debug -DKVX_BUILD_TESTS=ON \
  -DKVX_BUILD_TOOLS=ON -DKVX_BUILD_BENCH=OFF -DKVX_SANITIZE=OFF \
  -DCMAKE_TOOLCHAIN_FILE="$KVX_ROOT/cmake/toolchain-linux-x86.cmake"; then
  run_ctest build-x86
else
  fail "build-x86: build"
fi

if build_config build-asan "" -DCMAKE_BUILD_TYPE=Debug -DKVX_BUILD_TESTS=ON \
  -DKVX_BUILD_TOOLS=ON -DKVX_BUILD_BENCH=OFF -DKVX_SANITIZE=ON; then
  ASAN_OPTIONS=halt_on_error=1:abort_on_error=0:detect_leaks=1:strict_string_checks=1 \
    UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
    run_ctest build-asan
else
  fail "build-asan: build"
fi

# Every libFuzzer target runs briefly (clang, ASan + UBSan) and replays its
# committed regression inputs.
if step "build-fuzz: fuzz targets" build-fuzz/logs/fuzz.log \
  bash "$KVX_ROOT/tools/test-fuzz.sh"; then
  grep -E '^(FAILED )?[a-z_ ]+: ' build-fuzz/logs/fuzz.log
  pass
else
  fail "build-fuzz: a fuzz target found a fault (build-fuzz/logs/fuzz.log)"
fi

if build_config build-bench kvx_bench -DCMAKE_BUILD_TYPE=Release \
  -DKVX_BUILD_BENCH=ON -DKVX_BUILD_TESTS=OFF -DKVX_BUILD_TOOLS=OFF \
  -DKVX_SANITIZE=OFF; then
  pass
else
  fail "build-bench: build"
fi

# Churn: 10^6 create/use/destroy cycles of both modes on the Release module,
# the resident memory watched.
if step "build-bench: churn" build-bench/logs/churn.log tools/test-churn.sh; then
  grep '^churn: [0-9]' build-bench/logs/churn.log
  pass
else
  fail "build-bench: churn"
fi

echo
echo "== Summary ($(($(date +%s) - START)) s)"
if [ "$SKIPPED" -gt 0 ]; then
  echo "$SKIPPED skipped"
fi
for f in "${FAILURES[@]}"; do
  echo "FAILED: $f"
done
echo "$PASSED passed, $FAILED failed"
if [ "$FAILED" -ne 0 ]; then
  exit 1
fi
exit 0
