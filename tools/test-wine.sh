#!/usr/bin/env bash
# Runs the black-box test suite against the Windows DLL under Wine: builds
# kvx_tests with MinGW-w64 in build-mingw/ (beside KelvoCalibrate.kvx), runs
# it once in Wine (prefix inside the build folder, WINEDEBUG=-all) and
# tallies its XML report. The last line is "N passed, M failed, K skipped";
# the exit status is non-zero when a test failed or none ran. Arguments go
# to the test program (--gtest_filter=..., for instance).
#
# Environment: KVX_JOBS (parallel jobs, default 2), KVX_SKIP_PACKAGES=1.
set -uo pipefail

KVX_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$KVX_ROOT" || exit 1
# shellcheck source=tools/packages.sh
source "$KVX_ROOT/tools/packages.sh"
DIR=build-mingw

kvx_ensure_packages libeigen3-dev cmake ninja-build g++-mingw-w64-i686 \
  binutils-mingw-w64-i686 googletest python3 || exit 2
kvx_ensure_wine || exit 2

kvx_configure "$DIR" -DCMAKE_BUILD_TYPE=Release -DKVX_BUILD_TESTS=ON \
  -DCMAKE_TOOLCHAIN_FILE="$KVX_ROOT/cmake/toolchain-mingw-i686.cmake" ||
  exit 1
cmake --build "$DIR" -j "${KVX_JOBS:-2}" --target kvx_tests || exit 1

cd "$DIR" || exit 1
rm -f wine-results.xml
# A fresh prefix takes some seconds, the suite about as long; the limit only
# guards a hang. No Mono or Gecko: the prefix is made without asking for them.
WINEDEBUG=-all WINEPREFIX="$PWD/wineprefix" WINEDLLOVERRIDES="mscoree,mshtml=" \
  timeout 900 wine kvx_tests.exe --gtest_output=xml:wine-results.xml "$@" \
  >wine-tests.log 2>&1
rc=$?
if [ ! -s wine-results.xml ]; then
  tail -n 40 wine-tests.log
  echo "error: the suite under Wine wrote no report (exit status $rc)"
  exit 1
fi
/usr/bin/python3 "$KVX_ROOT/tools/gtest_tally.py" wine-results.xml
