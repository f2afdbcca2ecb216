#!/usr/bin/env bash
# Regenerates the seed corpora under fuzz/corpus/ and the dictionaries fuzz/*.dict
# from the tree: images compiled from the test and example programs, their sources,
# small store texts, profile files and templates with values.
# usage: fuzz/make-corpus.sh [LUMBASIC]   (the built command-line host, by default
# build/cli/lumbasic)
set -euo pipefail
cd "$(dirname "$0")/.."
lum=$(realpath "${1:-build/cli/lumbasic}")
corpus=fuzz/corpus
rm -rf "$corpus"
mkdir -p "$corpus"/{image,disassembler,compiler,store,profile,template,differential}

# Compiled in a fixed directory: an image records its source's path, and the corpus
# must not change with the directory of the tree.
stage=/tmp/lumfuzz-corpus
rm -rf "$stage"
mkdir -p "$stage"
for src in tests/programs/*.lbd tests/golden/*.lbd examples/*.lbd; do
  name=$(basename "$(dirname "$src")")-$(basename "$src" .lbd)
  cp "$src" "$stage/$name.lbd"
  cp "$src" "$corpus/compiler/$name.lbd"
  ext=()
  [ -f "${src%.lbd}.ext" ] && ext=(--extensions "$(realpath "${src%.lbd}.ext")")
  if (cd "$stage" && "$lum" compile "${ext[@]}" "$name.lbd" -o "$name.lbc" 2>/dev/null); then
    cp "$stage/$name.lbc" "$corpus/image/$name"
    cp "$stage/$name.lbc" "$corpus/disassembler/$name"
  fi
done
rm -rf "$stage"

# Store texts: every type, indices, locals, a long name, numbers at their edges.
printf 'S:name$=Wein, Brot\nL:count%%=42\nD:price=19.990000\n' >"$corpus/store/types"
printf 'L:a%%:1:2=7\nS:@Main@x$=lokal\nD:table:3=-0.500000\n' >"$corpus/store/keys"
printf 'D:big=1e308\nD:small=1e-300\nL:min%%=-2147483648\nD:nan=nan\n' >"$corpus/store/numbers"
printf 'S:%0300d=x\nS:empty$=\nS:eq$=a=b=c\n' 0 >"$corpus/store/edges"

# Profile files: runs, entry count, then line and hits of each entry (little-endian).
le32() { printf "\\x$(printf %02x $(($1 & 255)))\\x$(printf %02x $(($1 >> 8 & 255)))\\x$(printf %02x $(($1 >> 16 & 255)))\\x$(printf %02x $(($1 >> 24 & 255)))"; }
{ le32 3; le32 2; le32 10; le32 5; le32 11; le32 1; } >"$corpus/profile/two"
{ le32 1; le32 3; le32 16; le32 1; le32 288; le32 2; le32 16; le32 9; } >"$corpus/profile/chain"
{ le32 1; le32 1000000; le32 1; le32 1; } >"$corpus/profile/short"
printf 'Sub Main\r\n    a = 1\r\nEnd Sub\r\n' >"$corpus/profile/source"

# Templates: the pick byte (type: 0 long, 1 double, 2 string, 3 empty), the value,
# a zero byte, the template.
tpl() { printf "\\x$(printf %02x "$2")%s\\0%s" "$3" "$4" >"$corpus/template/$1"; }
tpl amount 1 1234.5 '999.999,99'
tpl zeros 1 12.5 'ZZZ.ZZ9,99'
tpl long 0 -1234567 '999.999'
tpl padded 0 42 'NNNN kg'
tpl date 2 20001231235959 'tt. o jjjj, HH:MM:SS'
tpl cut 2 'Wein, Brot' 'ccc-s-s'
tpl small 5 1e300 '9,99999999999999'
tpl empty 3 '' '999'

# Choices of generated programs: any bytes make a program; these are fixed ones of
# a few sizes, so that the corpus stays the same from run to run.
for n in 1 2 3 4 5 6 7 8; do
  python3 -c "import random,sys; r=random.Random($n); sys.stdout.buffer.write(bytes(r.randrange(256) for _ in range(256 * $n)))" \
    >"$corpus/differential/choices-$n"
done

# Dictionaries: each token of the images as its two bytes, little-endian; the words
# of the language for the compiler.
{
  sed -n 's/^ *X(\([A-Z_]*\), 0x\(..\)\(..\)).*/"\\x\3\\x\2"/p' include/lumbasic/LumTokens.h
  sed -n 's/^ *LBN_[A-Z_]* = 0x\(..\)\(..\),.*/"\\x\2\\x\1"/p' include/lumbasic/LumTokens.h
} | sort -u >fuzz/image.dict
{
  grep -o '"[A-Z][A-Za-z]*"' compiler/LumParser.cpp
  grep -o '{"[A-Za-z]*\$\?"' compiler/LumBuiltinTable.cpp | tr -d '{'
  printf '"%s"\n' '=' '<>' '<=' '>=' '(' ')' ',' ':' '$' '%' '@' "'" '\"' 'End Sub' 'End If' 'End Function'
} | sort -u >fuzz/compiler.dict
