#!/usr/bin/env bash
# Runs two bench binaries alternately, N times each, and prints each one's
# median nodes per second with its range. Alternating spreads any drift of
# the machine (another job, the clock's boost) over both.
# Usage: tools/bench_compare.sh BENCH_A BENCH_B [runs=5] [depth=10]
set -euo pipefail
a=$1 b=$2 runs=${3:-5} depth=${4:-10}
declare -a nps_a nps_b
for ((i = 0; i < runs; ++i)); do
  nps_a+=("$("$a" "$depth" | sed -n 's/^Nodes per second: //p')")
  nps_b+=("$("$b" "$depth" | sed -n 's/^Nodes per second: //p')")
done
summary() {
  sort -n | awk '{v[NR] = $1} END {
    median = NR % 2 ? v[(NR + 1) / 2] : (v[NR / 2] + v[NR / 2 + 1]) / 2
    printf "median %d nps, range %d to %d (%d runs)\n", median, v[1], v[NR], NR }'
}
echo "A $a: $(printf '%s\n' "${nps_a[@]}" | summary)"
echo "B $b: $(printf '%s\n' "${nps_b[@]}" | summary)"
