#!/usr/bin/env bash
# A fuzz campaign: every target (or those named) in turn, one at a time,
# under nice -n 10, for SECONDS each (default 360). Corpora grow in
# build-fuzz/campaign/corpus/<target>/ from run to run; findings land in
# build-fuzz/campaign/findings/<target>/. The log
# build-fuzz/campaign/campaign.log gets one line per run: target, wall
# seconds, CPU seconds (user + system), executions, findings.
#
#   tools/fuzz.sh [SECONDS] [TARGET...]
# A finding stops that target's run; minimise it with
#   build-fuzz/tests/fuzz/fuzz_<target> -minimize_crash=1 -runs=10000 FILE
set -uo pipefail

KVX_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$KVX_ROOT" || exit 1
SECONDS_EACH=${1:-360}
shift || true
bash "$KVX_ROOT/tools/test-fuzz.sh" --build-only || exit 1

BUILD=$KVX_ROOT/build-fuzz
FUZZ_SRC=$KVX_ROOT/tests/fuzz
CAMPAIGN=$BUILD/campaign
mkdir -p "$CAMPAIGN"
LOG=$CAMPAIGN/campaign.log
export ASAN_OPTIONS=allocator_may_return_null=1:detect_leaks=1
export UBSAN_OPTIONS=print_stacktrace=1:halt_on_error=1

targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
  for src in "$FUZZ_SRC"/fuzz_*.cpp; do
    name=$(basename "$src" .cpp)
    targets+=("${name#fuzz_}")
  done
fi

status=0
for target in "${targets[@]}"; do
  corpus=$CAMPAIGN/corpus/$target
  findings=$CAMPAIGN/findings/$target
  mkdir -p "$corpus" "$findings"
  out=$CAMPAIGN/$target-$(date -u +%Y%m%dT%H%M%S).log
  start=$(date +%s)
  /usr/bin/time -f '%U %S' -o "$out.cpu" nice -n 10 \
    "$BUILD/tests/fuzz/fuzz_$target" -max_total_time="$SECONDS_EACH" \
    -timeout=25 -rss_limit_mb=2048 -print_final_stats=1 \
    -dict="$FUZZ_SRC/$target.dict" -artifact_prefix="$findings/" \
    "$corpus" "$FUZZ_SRC/corpus/$target" >"$out" 2>&1
  rc=$?
  wall=$(($(date +%s) - start))
  cpu=$(awk '{printf "%.1f", $1 + $2}' "$out.cpu" 2>/dev/null)
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$out")
  found=$(sed -n 's/.*Test unit written to //p' "$out" | head -n 1)
  line="$(date -u +%FT%TZ) $target wall=${wall}s cpu=${cpu:-?}s runs=${runs:-?}"
  if [ $rc -ne 0 ]; then
    line="$line FINDING ${found:-(exit $rc)}"
    status=1
  else
    line="$line findings=0"
  fi
  echo "$line" | tee -a "$LOG"
done
awk '{ for (i = 1; i <= NF; i++) if ($i ~ /^cpu=/) { sub(/cpu=/, "", $i);
  sub(/s$/, "", $i); t += $i } } END { printf "total CPU so far: %.1f min\n",
  t / 60 }' "$LOG"
exit $status
