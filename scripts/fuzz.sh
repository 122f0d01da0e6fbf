#!/usr/bin/env bash
# Builds the fuzzers, replays their corpora and lets each look for new inputs.
#
#   scripts/fuzz.sh [SECONDS [JOBS]]
#
# SECONDS is the time of each fuzzer, 60 unless given, 0 to replay only; JOBS of
# them run side by side, 1 unless given. What they learn stays in
# build/fuzz/learned for the next run; an input that broke something is kept in
# build/fuzz/findings, and the exit status is 1.
set -euo pipefail
cd "$(dirname "$0")/.."

readonly seconds=${1-60} jobs=${2-1}
readonly out=$PWD/build/fuzz

scripts/install-deps.sh fuzz
cmake --preset fuzz -DMV_WERROR=ON >/dev/null
cmake --build --preset fuzz --target fuzzers -- --quiet

run() {
  local name=$1 log=$out/$1.log
  local limit=(-max_total_time="$seconds")
  [ "$seconds" -gt 0 ] || limit=(-runs=0)
  mkdir -p "$out/learned/$name" "$out/findings"
  local status=0
  "$out/fuzz/$name" "${limit[@]}" -timeout=20 -print_final_stats=1 \
    -dict="fuzz/$name.dict" -artifact_prefix="$out/findings/$name-" \
    "$out/learned/$name" "fuzz/corpus/$name" >"$log" 2>&1 || status=1
  awk -v name="$name" -v failed="$status" '
    /number_of_executed_units/ { total = $2 }
    /average_exec_per_sec/ { rate = $2 }
    / cov: / { for (i = 1; i < NF; i++) if ($i == "cov:") edges = $(i + 1) }
    END { printf "%-20s %10d runs %7d/s %6d edges  %s\n", name, total, rate,
          edges, failed ? "FAILED" : "clean" }' "$log"
  [ "$status" -eq 0 ] || tail -40 "$log" >&2
  return "$status"
}
export -f run
export seconds out

find fuzz -name '*_fuzz.cpp' -printf '%f\n' | sed 's/\.cpp$//' | sort |
  xargs -P "$jobs" -I '{}' bash -c 'run {}'
