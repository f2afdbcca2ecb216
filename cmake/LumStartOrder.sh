#!/usr/bin/env bash
# Writes cmake/LumStartOrder.ld, the linker script that puts the functions a start of
# the command line calls, in liblumbasic and in the command, at the head of their code:
# the kernel maps code a 64 KB window at a time, and these functions, spread over the
# whole code, took a page fault each in some twenty windows. The functions are those
# callgrind sees in `lumbasic run` of a compiled program (first) and of a source; a
# name the sources no longer have matches nothing and costs nothing. Needs valgrind
# and a built tree:
#     cmake/LumStartOrder.sh [build]
set -euo pipefail
here="$(cd "$(dirname "$0")" && pwd)"
build="$(realpath "${1:-$here/../build}")"
lumbasic="$build/cli/lumbasic"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

cp "$here/../bench/compare/for.lbd" "$work/prog.lbd"
"$lumbasic" compile "$work/prog.lbd" -o "$work/prog.lbc" >/dev/null
echo "L:n%=0" >"$work/zero.vars"

# The mangled names of the functions of liblumbasic and of the command that one run
# calls, from callgrind's output, where a name is given once with its number.
functions_of() { # command...
  valgrind --tool=callgrind --demangle=no --callgrind-out-file="$work/out" "$@" >/dev/null 2>&1
  awk '
    # "(number) name" where a name first appears, "(number)" after; objects and
    # functions are numbered apart. Valgrind names no object for code outside a file'"'"'s
    # .text, as that of a tree linked with this list: "???".
    function id(s) { sub(/\).*/, "", s); sub(/^\(/, "", s); return s }
    function rest(s) { return s ~ /\) / ? substr(s, index(s, ") ") + 2) : "" }
    /^c?ob=/ { s = substr($0, index($0, "=") + 1); if (rest(s) != "") object[id(s)] = rest(s)
               if ($0 ~ /^ob=/) ob = object[id(s)]; next }
    /^c?fn=/ { s = substr($0, index($0, "=") + 1); if (rest(s) != "") function_[id(s)] = rest(s)
               if ($0 ~ /^fn=/ && ob ~ /(\/(liblumbasic\.so[.0-9]*|lumbasic)|^\?\?\?)$/) print function_[id(s)] }
  ' "$work/out"
}

{
  functions_of "$lumbasic" run --vars "$work/zero.vars" "$work/prog.lbc"
  functions_of "$lumbasic" run --vars "$work/zero.vars" "$work/prog.lbd"
} | awk '
  # Plain names only (not clones numbered by callgrind, nor static initialisers, which
  # the linker gathers already); a constructor or destructor is reported by its
  # complete-object name, its code is in the section of the base-object one.
  { sub(/'"'"'[0-9]+$/, "") }
  !/^[A-Za-z_][A-Za-z0-9_.$]*$/ || /^_GLOBAL__sub_I/ { next }
  { n = $0; add(n); gsub(/C1E/, "C2E", n); add(n); n = $0; gsub(/D1E/, "D2E", n); add(n) }
  function add(s) { if (!(s in seen)) { seen[s] = 1; order[++count] = s } }
  END {
    print "/* Written by cmake/LumStartOrder.sh: the functions a start of the command line"
    print "   calls, at the head of the code of liblumbasic and of the command. */"
    print "SECTIONS\n{\n  .text.lumstart :\n  {"
    for (i = 1; i <= count; i++) print "    *(.text." order[i] ")"
    print "  }\n}\nINSERT BEFORE .text;"
  }' >"$here/LumStartOrder.ld"
echo "$(grep -c '^    \*' "$here/LumStartOrder.ld") functions in $here/LumStartOrder.ld"
