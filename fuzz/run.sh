#!/usr/bin/env bash
# run.sh [SECONDS [TARGET...]]
#
# Builds the preset "fuzz" and runs every target, or those named, for SECONDS
# each (60), one behind the other. What the fuzzers find on the way stays in
# build/fuzz/corpus and is where the next run starts; inputs that end in a
# finding go to build/fuzz/findings. Prints a line per target; the exit status
# is 1 when there was a finding.
#
# FUZZ_BUILD names another build folder; it is configured when it is new.
set -euo pipefail
cd "$(dirname "$0")/.."

seconds=${1:-60}
shift $(($# > 0 ? 1 : 0))
build=${FUZZ_BUILD:-build/fuzz}

cmake --preset fuzz -B "$build" >/dev/null
cmake --build "$build" --target fuzz_targets -- --quiet

if [ $# -gt 0 ]; then
  targets=("$@")
else
  mapfile -t targets < <(cd fuzz/corpus && printf '%s\n' *)
fi

# stat NAME LOG: a number of libFuzzer's summary.
stat() {
  awk -v name="stat::$1:" '$1 == name {print $2}' "$2"
}

# Runs one target. Its exit status is the fuzzer's: not 0 for a finding.
run() {
  local target=$1 log=$2 options=()
  local dictionary=fuzz/dictionaries/$target.dict
  [ -f "$dictionary" ] && options+=(-dict="$dictionary")
  "$build/fuzz/fuzz_$target" "${options[@]}" \
    -max_total_time="$seconds" -timeout=25 -rss_limit_mb=2048 \
    -print_final_stats=1 -verbosity=1 \
    -artifact_prefix="$build/findings/$target-" \
    "$build/corpus/$target" "fuzz/corpus/$target" >"$log" 2>&1
}

status=0
mkdir -p "$build/findings"
printf '%-16s %12s %8s %8s %9s\n' target executions exec/s corpus findings
for target in "${targets[@]}"; do
  mkdir -p "$build/corpus/$target"
  log=$build/$target.log
  findings=0
  run "$target" "$log" || findings=1
  # A corpus grows while it is read: what is kept of both folders.
  corpus=$(sed -n 's/.* corp: \([0-9]*\)\/.*/\1/p' "$log" | tail -1)
  printf '%-16s %12s %8s %8s %9s\n' "$target" \
    "$(stat number_of_executed_units "$log")" \
    "$(stat average_exec_per_sec "$log")" "$corpus" "$findings"
  if [ $findings -ne 0 ]; then
    status=1
    grep -E '^finding:|ERROR: |SUMMARY: |Test unit written' "$log" || tail "$log"
  fi
done
exit $status
