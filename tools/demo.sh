#!/usr/bin/env bash
# Builds the native configuration (build/) and runs the demo program: a
# calibration session on the sample data in examples/ (manual calibration
# from a calibration point file, peaks, SPE block, automatic mode, stepping,
# optimisation, glue, parameters; see README.md). Arguments go to the demo
# (a calibration point file of your own, for instance). Then the same
# calibration file through the Python command-line tool: kelvo fit.
set -euo pipefail

KVX_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$KVX_ROOT"
# shellcheck source=tools/packages.sh
source "$KVX_ROOT/tools/packages.sh"

kvx_ensure_packages cmake ninja-build g++ python3 libeigen3-dev
args=(-DKVX_BUILD_TOOLS=ON)
if [ ! -f build/CMakeCache.txt ]; then
  # A fresh folder needs no test framework for the demo; tools/test-all.sh
  # switches the tests on in the same folder.
  args+=(-DCMAKE_BUILD_TYPE=Debug -DKVX_BUILD_TESTS=OFF)
fi
kvx_configure build "${args[@]}" >/dev/null
cmake --build build -j "${KVX_JOBS:-2}" --target kvx_demo KelvoCalibrate
echo
build/tools/kvx_demo "$@"

echo
echo "=== The Python command-line tool ==="
echo "kelvo fit examples/neon-1024.cal --segment 2  (python/, see README.md)"
echo
# Debian's interpreter: the first python3 on the path may be another one.
PYTHONPATH="$KVX_ROOT/python" KELVO_MODULE="$KVX_ROOT/build/KelvoCalibrate.kvx" \
  /usr/bin/python3 -m kelvocalibrate fit examples/neon-1024.cal --segment 2
