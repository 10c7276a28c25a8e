#!/usr/bin/env bash
# A fuzz campaign: every target (or those named) in turn, one at a time,
# under nice -n 10, until it has had CPU_SECONDS of processor time (default
# 300; on a busy machine that takes longer than 300 s of wall time). Each
# target runs in chunks of at most 120 s of wall time; its corpus grows in
# build-fuzz/campaign/corpus/<target>/ from chunk to chunk and from run to
# run, and findings land in build-fuzz/campaign/findings/<target>/. The log
# build-fuzz/campaign/campaign.log gets one line per chunk: target, wall
# seconds, CPU seconds (user + system), executions, findings; the totals
# per target close the run.
#
#   tools/fuzz.sh [CPU_SECONDS] [TARGET...]
# A finding ends that target's turn; Ctrl-C (SIGINT to the fuzzer) ends the
# campaign after logging the chunk. Minimise a finding with
#   build-fuzz/tests/fuzz/fuzz_<target> -minimize_crash=1 -runs=10000 FILE
set -uo pipefail

KVX_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$KVX_ROOT" || exit 1
BUDGET=${1:-300}
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

# chunk <target> <wall seconds>: one run; prints its CPU seconds; returns
# non-zero on a finding.
chunk() {
  local target=$1 wall=$2 corpus=$CAMPAIGN/corpus/$1
  local findings=$CAMPAIGN/findings/$1 out start rc cpu runs found line
  mkdir -p "$corpus" "$findings"
  out=$CAMPAIGN/$target-$(date -u +%Y%m%dT%H%M%S).log
  start=$(date +%s)
  /usr/bin/time -f '%U %S' -o "$out.cpu" nice -n 10 \
    "$BUILD/tests/fuzz/fuzz_$target" -max_total_time="$wall" \
    -timeout=25 -rss_limit_mb=2048 -print_final_stats=1 \
    -dict="$FUZZ_SRC/$target.dict" -artifact_prefix="$findings/" \
    "$corpus" "$FUZZ_SRC/corpus/$target" >"$out" 2>&1
  rc=$?
  cpu=$(tail -n 1 "$out.cpu" | awk '{printf "%.1f", $1 + $2}')
  runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$out")
  found=$(sed -n 's/.*Test unit written to //p' "$out" | head -n 1)
  line="$(date -u +%FT%TZ) $target wall=$(($(date +%s) - start))s"
  line="$line cpu=${cpu:-0}s runs=${runs:-0}"
  if [ $rc -eq 72 ]; then # interrupted (SIGINT): stop the campaign
    line="$line interrupted"
  elif [ $rc -ne 0 ]; then
    line="$line FINDING ${found:-(exit $rc)}"
  else
    line="$line findings=0"
  fi
  echo "$line" >>"$LOG"
  echo "$line" >&2
  echo "${cpu:-0}"
  return $rc
}

status=0
for target in "${targets[@]}"; do
  spent=0
  while awk -v s="$spent" -v b="$BUDGET" 'BEGIN { exit !(s < b) }'; do
    # A chunk of at most 120 s, shorter near the end of the budget (1.5 x
    # the CPU time still due: about what a busy machine takes to give it).
    wall=$(awk -v s="$spent" -v b="$BUDGET" \
      'BEGIN { w = int((b - s) * 1.5) + 5; print (w > 120 ? 120 : w) }')
    cpu=$(chunk "$target" "$wall")
    rc=$?
    [ $rc -eq 72 ] && break 2
    if [ $rc -ne 0 ]; then
      status=1
      break
    fi
    spent=$(awk -v s="$spent" -v c="$cpu" 'BEGIN { printf "%.1f", s + c }')
  done
done
# Totals per target over the whole log (every campaign so far).
awk '{ for (i = 1; i <= NF; i++) { if ($i ~ /^cpu=/) { v = $i;
  gsub(/cpu=|s$/, "", v); cpu[$2] += v; total += v }
  if ($i ~ /^runs=/) { v = $i; sub(/runs=/, "", v); runs[$2] += v } } }
  END { for (t in cpu) printf "%-14s cpu=%.1f min runs=%d\n", t, cpu[t] / 60,
  runs[t]; printf "total CPU: %.1f min\n", total / 60 }' "$LOG" | sort
exit $status
