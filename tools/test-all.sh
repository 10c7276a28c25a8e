#!/usr/bin/env bash
# Builds every configuration of KelvoCalibrate and runs every test:
#   build-mingw/  32-bit Windows DLL (MinGW-w64): export-table check
#   build/        native x86-64: all tests, plus the Windows export check
#   build-x86/    32-bit Linux (-m32): all tests
#   build-asan/   native with AddressSanitizer + UndefinedBehaviorSanitizer
#   build-fuzz/   libFuzzer targets: short runs and regression inputs
#   build-bench/  the benchmarks compile (Release)
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
  binutils-mingw-w64-i686 googletest libbenchmark-dev clang llvm pkgconf \
  clang-format ||
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

START=$(date +%s)

# Every C and C++ file follows .clang-format.
mkdir -p build/logs
if step "format" build/logs/format.log \
  bash -c 'find include src tests tools bench -name "*.cpp" -o -name "*.h" \
    -o -name "*.c" | xargs clang-format --dry-run -Werror'; then
  pass
else
  fail "format: run clang-format -i on the files listed above"
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
  # A Windows host loads the DLL under Wine, resolves every export by name
  # and ordinal and runs a manual and an automatic session.
  if kvx_ensure_wine >build-mingw/logs/wine-install.log 2>&1 &&
    step "build-mingw: host under Wine" build-mingw/logs/wine.log \
      bash -c 'i686-w64-mingw32-gcc -std=c11 -Wall -Wextra -Werror -O1 \
        -Iinclude tests/windows/wine_host.c -o build-mingw/wine_host.exe \
        -static && cd build-mingw &&
        WINEDEBUG=-all WINEPREFIX="$PWD/wineprefix" wine wine_host.exe \
        KelvoCalibrate.kvx ../src/api/exports.txt'; then
    tail -n 2 build-mingw/logs/wine.log
    pass
  else
    tail -n 20 build-mingw/logs/wine-install.log
    fail "build-mingw: host under Wine"
  fi
else
  fail "build-mingw: build"
fi

if build_config build "" -DCMAKE_BUILD_TYPE=Debug -DKVX_BUILD_TESTS=ON \
  -DKVX_BUILD_TOOLS=ON -DKVX_BUILD_BENCH=OFF -DKVX_SANITIZE=OFF \
  -DKVX_WINDOWS_MODULE="$KVX_ROOT/build-mingw/KelvoCalibrate.kvx"; then
  run_ctest build
else
  fail "build: build"
fi

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
