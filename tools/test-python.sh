#!/usr/bin/env bash
# Tests the Python package kelvocalibrate and the kelvo command against the
# native module in build/ (built here if missing): installs the package into
# a virtual environment (build/python-venv, with Debian's system packages,
# no build isolation, nothing fetched), checks that the kelvo entry point
# runs, then runs the pytest suite in python/tests.
#
# Uses Debian's interpreter explicitly: the first python3 on the path may be
# another one without Debian's numpy, matplotlib and pytest.
set -euo pipefail

KVX_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$KVX_ROOT"
# shellcheck source=tools/packages.sh
source "$KVX_ROOT/tools/packages.sh"

kvx_ensure_packages python3 python3-numpy python3-matplotlib python3-pytest \
  python3-setuptools python3-venv gcc

PY=/usr/bin/python3
MODULE="$KVX_ROOT/build/KelvoCalibrate.kvx"
if [ ! -f "$MODULE" ]; then
  kvx_ensure_packages libeigen3-dev cmake ninja-build g++
  if [ ! -f build/CMakeCache.txt ]; then
    kvx_configure build -DCMAKE_BUILD_TYPE=Debug -DKVX_BUILD_TESTS=OFF
  fi
  cmake --build build -j "${KVX_JOBS:-2}" --target KelvoCalibrate
fi
export KELVO_MODULE="$MODULE"

VENV=build/python-venv
if [ ! -x "$VENV/bin/python" ]; then
  "$PY" -m venv --system-site-packages "$VENV"
fi
"$VENV/bin/python" -m pip install --quiet --no-index --no-build-isolation \
  --no-deps -e python
echo "kelvo entry point: $("$VENV/bin/kelvo" convert 1 --from ev --to nm)"

rc=0
"$VENV/bin/python" -m pytest -q -p no:cacheprovider python/tests || rc=$?
if [ "$rc" -eq 5 ]; then
  echo "error: pytest collected no tests" >&2
fi
exit "$rc"
