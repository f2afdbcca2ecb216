#!/usr/bin/env bash
# `lumbasic batch` over 1,000,000 order lines through the price rule of the Dask
# example (examples/dask/price_rule.lbd), with 1 and with 2 jobs: records per second
# of wall time (the median and the best of RUNS runs; on a shared machine the best is
# the run least slowed by others), records per second of CPU time (user + system,
# which another job moves less), and the ratios of the wall-time figures. Needs a
# built tree; RECORDS, RUNS and JOBS may be set.
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
lumbasic=${LUMBASIC:-$root/build/cli/lumbasic}
records=${RECORDS:-1000000}
runs=${RUNS:-5}
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

# The same order lines on every machine: a linear congruential generator.
awk -v n="$records" 'BEGIN {
  print "id%,price,qty%"; s = 1
  for (i = 1; i <= n; i++) {
    s = (s * 1103515245 + 12345) % 2147483648; price = 1 + (s % 19900) / 100
    s = (s * 1103515245 + 12345) % 2147483648; qty = 1 + s % 30
    printf "%d,%.2f,%d\n", i, price, qty
  }
}' >"$scratch/orders.csv"

median() { sort -g | awk '{ a[NR] = $1 } END { print a[int((NR + 1) / 2)] }'; }
least() { sort -g | head -n 1; }

declare -A wall best
for jobs in ${JOBS:-1 2}; do
  : >"$scratch/wall" && : >"$scratch/cpu"
  for _ in $(seq "$runs"); do
    /usr/bin/time -f '%e %U %S' -o "$scratch/time" "$lumbasic" batch --jobs "$jobs" --fields 'id%,total,label$' \
      --in "$scratch/orders.csv" --out "$scratch/totals.csv" "$root/examples/dask/price_rule.lbd" 2>/dev/null
    read -r elapsed user system <"$scratch/time"
    echo "$elapsed" >>"$scratch/wall"
    echo "$user $system" | awk '{ print $1 + $2 }' >>"$scratch/cpu"
  done
  wall[$jobs]=$(median <"$scratch/wall")
  best[$jobs]=$(least <"$scratch/wall")
  cpu=$(median <"$scratch/cpu")
  awk -v n="$records" -v j="$jobs" -v w="${wall[$jobs]}" -v b="${best[$jobs]}" -v c="$cpu" 'BEGIN {
    printf "%d job(s): %.0f records/s (wall, median %.2f s), best %.0f records/s, %.0f records/s of CPU time\n",
      j, n / w, w, n / b, n / c }'
done
[ -n "${wall[1]:-}" ] && [ -n "${wall[2]:-}" ] &&
  awk -v a="${wall[1]}" -v b="${wall[2]}" -v c="${best[1]}" -v d="${best[2]}" 'BEGIN {
    printf "2 jobs / 1 job: %.2fx (medians), %.2fx (best runs)\n", a / b, c / d }'
