#!/usr/bin/env bash
# Builds the benchmarks in Release (build-bench/) and runs them. Extra
# arguments go to the benchmark binary, e.g. --benchmark_filter=ValueToPixel
# or --benchmark_repetitions=5.
set -euo pipefail

KVX_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$KVX_ROOT"
# shellcheck source=tools/packages.sh
source "$KVX_ROOT/tools/packages.sh"

kvx_ensure_packages cmake ninja-build g++ libbenchmark-dev libeigen3-dev
kvx_configure build-bench -DCMAKE_BUILD_TYPE=Release -DKVX_BUILD_BENCH=ON \
  -DKVX_BUILD_TESTS=OFF -DKVX_BUILD_TOOLS=OFF -DKVX_SANITIZE=OFF >/dev/null
cmake --build build-bench -j "${KVX_JOBS:-2}" --target kvx_bench
exec build-bench/bench/kvx_bench "$@"
