#!/usr/bin/env bash
# The churn test: 10^6 cycles, each creating, using through every family of
# exports and destroying a manual and an automatic object, on the Release
# build of build-bench/ (configured as tools/bench.sh does); the resident
# memory after a warm-up and at the end must not differ by more than 1 MiB.
# Prints cycles/s and both sizes. Arguments: the number of cycles.
#
# Environment: KVX_JOBS (parallel jobs, default 2), KVX_SKIP_PACKAGES=1.
set -euo pipefail

KVX_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$KVX_ROOT"
# shellcheck source=tools/packages.sh
source "$KVX_ROOT/tools/packages.sh"

kvx_build_release_target kvx_churn
exec build-bench/kvx_churn "$@"
