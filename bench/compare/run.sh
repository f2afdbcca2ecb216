#!/usr/bin/env bash
# Times each pair of equivalent programs in this folder, LumBasic against Lua 5.4 with
# global variables, and prints the median time per pass of each and their ratio. The results
# of both programs are checked equal first. Needs hyperfine and lua5.4 (Debian
# packages of those names) and a built tree:
#     bench/compare/run.sh [path/to/lumbasic]
# Each program reads its number of passes n (LumBasic: n% from --vars; Lua: arg[1]);
# the time of a run with n = 0, the start-up, is subtracted. The start-up itself has a row
# of its own (ONLY=startup for that row alone).
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
lumbasic="$(realpath "${1:-$here/../../build/cli/lumbasic}")"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

# kind, passes, what it does
kinds=(
  "for 3000000 For loop, s = s + i"
  "while 2000000 While loop of three statements"
  "call 1010000 recursive user function, per call"
  "array 1000000 array element write + read"
  "string 500000 string concatenation and slicing"
  "tostring 1000000 number to string"
  "sub 1000000 Sub call with two parameters"
  "sumloop 1000000 a function summing in a For loop, per pass"
  "forfn 3000000 For loop in a function, s = s + i, per pass"
  "sumarray 1000000 a function summing an array, per element"
  "builtin 1000000 Abs, Fix, Round, Sgn in a function, per call"
  "template 300000 Str\$ with a template"
  "amount 300000 a Function formatting an amount, per call"
  "invoice 200000 invoice lines (realistic program)"
  "build 20000 building a text, s\$ = s\$ + p\$"
)

result_of_lumbasic() { # kind n
  echo "L:n%=$2" > "$work/n.vars"
  "$lumbasic" run --vars "$work/n.vars" --dump "$work/$1.lbc" | sed -n 's/^D:result=//p'
}

# The median of several runs: on a shared machine a run that another job slowed down
# moves the mean, not the median.
median_of() { # command...: median seconds of several runs
  hyperfine -N --warmup 1 --runs "${RUNS:-5}" --export-json "$work/t.json" "$*" >/dev/null 2>&1
  sed -n 's/.*"median": *\([0-9.e-]*\).*/\1/p' "$work/t.json" | head -1
}

profiled=()
printf '%-44s %14s %14s %8s\n' "kind of work" "LumBasic ns" "Lua 5.4 ns" "ratio"
for entry in "${kinds[@]}"; do
  [ -n "${ONLY:-}" ] && [[ " $ONLY " != *" ${entry%% *} "* ]] && continue
  read -r kind n label <<< "$entry"
  # Compiled from a copy: counting writes its profile files beside the source.
  cp "$here/$kind.lbd" "$work/"
  "$lumbasic" compile "$work/$kind.lbd" -o "$work/$kind.lbc" >/dev/null
  lum="$(result_of_lumbasic "$kind" 1010)"
  lua="$(lua5.4 "$here/$kind.lua" 1010)"
  if [ "$lum" != "$lua" ]; then
    echo "$kind: the results differ: LumBasic $lum, Lua $lua" >&2
    exit 1
  fi
  echo "L:n%=$n" > "$work/n.vars"; cp "$work/n.vars" "$work/full.vars"
  echo "L:n%=0" > "$work/zero.vars"
  t_lum=$(median_of "$lumbasic" run --vars "$work/full.vars" "$work/$kind.lbc")
  t_lum0=$(median_of "$lumbasic" run --vars "$work/zero.vars" "$work/$kind.lbc")
  t_lua=$(median_of lua5.4 "$here/$kind.lua" "$n")
  t_lua0=$(median_of lua5.4 "$here/$kind.lua" 0)
  awk -v l="$label" -v a="$t_lum" -v a0="$t_lum0" -v b="$t_lua" -v b0="$t_lua0" -v n="$n" 'BEGIN {
    x = (a - a0) / n * 1e9; y = (b - b0) / n * 1e9
    printf "%-44s %14.1f %14.1f %8.3f\n", l, x, y, (y > 0 ? x / y : 0) }'
  # Counting line hits against the plain run of the same program, start-up included
  # in neither.
  t_prof=$(median_of "$lumbasic" run --profile --vars "$work/full.vars" "$work/$kind.lbc")
  t_prof0=$(median_of "$lumbasic" run --profile --vars "$work/zero.vars" "$work/$kind.lbc")
  profiled+=("$(awk -v l="$label" -v a="$t_lum" -v a0="$t_lum0" -v p="$t_prof" -v p0="$t_prof0" -v n="$n" 'BEGIN {
    x = (a - a0) / n * 1e9; y = (p - p0) / n * 1e9
    printf "%-44s %14.1f %14.1f %8.2f", l, x, y, (x > 0 ? y / x : 0) }')")
done

echo
printf '%-44s %14s %14s %8s\n' "counting line hits (run --profile)" "plain run ns" "counting ns" "ratio"
for row in "${profiled[@]}"; do echo "$row"; done
echo

# Start-up: an empty program (a Sub Main with nothing in it) against Lua running an
# empty chunk, the whole process each. A run is short against the machine's noise, so
# the two alternate in rounds of 30 runs (START_ROUNDS rounds, 10 by default) and the
# median is taken over all runs of each: a stretch of load falls on both.
times_of() { # runs command...: the seconds of each run, one a line
  hyperfine -N --warmup 1 --runs "$1" --export-json "$work/t.json" "${*:2}" >/dev/null 2>&1
  awk '/"times"/ { f = 1; next } f && /\]/ { f = 0 } f { gsub(/[ ,]/, ""); if ($0 != "") print }' "$work/t.json"
}
median_in() { # file of numbers
  sort -g "$1" | awk '{ a[NR] = $1 } END { print (NR % 2 ? a[(NR + 1) / 2] : (a[NR / 2] + a[NR / 2 + 1]) / 2) }'
}
if [ -z "${ONLY:-}" ] || [[ " $ONLY " == *" startup "* ]]; then
  printf 'Sub Main\nEnd Sub\n' > "$work/empty.lbd"
  "$lumbasic" compile "$work/empty.lbd" -o "$work/empty.lbc" >/dev/null
  : > "$work/lum.times"
  : > "$work/lua.times"
  for ((round = 0; round < ${START_ROUNDS:-10}; round++)); do
    times_of 30 "$lumbasic" run "$work/empty.lbc" >> "$work/lum.times"
    times_of 30 lua5.4 -e "''" >> "$work/lua.times"
  done
  printf '%-44s %14s %14s %8s\n' "start-up" "LumBasic us" "Lua 5.4 us" "ratio"
  awk -v a="$(median_in "$work/lum.times")" -v b="$(median_in "$work/lua.times")" 'BEGIN {
    printf "%-44s %14.0f %14.0f %8.2f\n", "empty program, the whole process", a * 1e6, b * 1e6, a / b }'
  echo
fi

# Peak memory of 400,000 array elements, half numbers and half short strings.
cp "$here/memory.lbd" "$work/"
"$lumbasic" compile "$work/memory.lbd" -o "$work/memory.lbc" >/dev/null
echo "L:n%=400000" > "$work/n.vars"
echo "L:n%=0" > "$work/zero.vars"
peak() { /usr/bin/time -f %M -o "$work/peak" "$@" >/dev/null; cat "$work/peak"; }
m_lum=$(peak "$lumbasic" run --vars "$work/n.vars" "$work/memory.lbc")
m_lum0=$(peak "$lumbasic" run --vars "$work/zero.vars" "$work/memory.lbc")
m_lua=$(peak lua5.4 "$here/memory.lua" 400000)
m_lua0=$(peak lua5.4 "$here/memory.lua" 0)
awk -v a="$m_lum" -v a0="$m_lum0" -v b="$m_lua" -v b0="$m_lua0" 'BEGIN {
  printf "%-44s %14d %14d %8.2f\n", "peak memory, 400,000 elements (KB above start)", a - a0, b - b0, (a - a0) / (b - b0) }'
