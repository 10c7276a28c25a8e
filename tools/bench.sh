#!/usr/bin/env bash
# Builds the benchmarks in Release (build-bench/) and runs them. Extra
# arguments go to the benchmark binary, e.g. --benchmark_filter=ValueToPixel
# or --benchmark_repetitions=5.
set -euo pipefail

KVX_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$KVX_ROOT"
# shellcheck source=tools/packages.sh
source "$KVX_ROOT/tools/packages.sh"

kvx_build_release_target kvx_bench
exec build-bench/bench/kvx_bench "$@"
