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
mkdir -p "$corpus"/{image,disassembler,compiler,store,profile,template,differential,lsp,dap}

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

# Language server sessions: framed JSON-RPC messages, as an editor writes them.
frame() { printf 'Content-Length: %d\r\n\r\n%s' "$(printf '%s' "$1" | wc -c)" "$1"; }
doc='"textDocument":{"uri":"file:///tmp/prog.lbd"}'
init='{"jsonrpc":"2.0","id":1,"method":"initialize","params":{"capabilities":{"textDocument":{"completion":{"completionItem":{"snippetSupport":true}}}}}}'
initialized='{"jsonrpc":"2.0","method":"initialized","params":{}}'
open_prog='{"jsonrpc":"2.0","method":"textDocument/didOpen","params":{"textDocument":{"uri":"file:///tmp/prog.lbd","languageId":"lumbasic","version":1,"text":"Declare Function Sqrt(x)\nSub Main\n    s$ = \"€ä\" : x = Rund(2.5)\n    For i% = 1 To 3\n        t = t + Tally(i%)\n    Next i%\nEnd Sub\nFunction Tally(n)\n    Dim k\n    k = n * 2\n    Tally = k\nEnd Function\n"}}}'
bye='{"jsonrpc":"2.0","id":99,"method":"shutdown"}'
quit='{"jsonrpc":"2.0","method":"exit"}'
request() { frame "{\"jsonrpc\":\"2.0\",\"id\":$1,\"method\":\"$2\",\"params\":{$doc,\"position\":{\"line\":$3,\"character\":$4}${5:-}}}"; }
{
  frame "$init"; frame "$initialized"; frame "$open_prog"
  request 2 textDocument/hover 2 23; request 3 textDocument/completion 9 4; request 4 textDocument/signatureHelp 4 25
  request 5 textDocument/definition 4 17; request 6 textDocument/references 9 4 ',"context":{"includeDeclaration":true}'
  request 7 textDocument/prepareRename 9 4; request 8 textDocument/rename 9 4 ',"newName":"kk"'
  frame "{\"jsonrpc\":\"2.0\",\"id\":9,\"method\":\"textDocument/documentSymbol\",\"params\":{$doc}}"
  frame "{\"jsonrpc\":\"2.0\",\"id\":10,\"method\":\"textDocument/foldingRange\",\"params\":{$doc}}"
  frame "{\"jsonrpc\":\"2.0\",\"id\":11,\"method\":\"textDocument/formatting\",\"params\":{$doc,\"options\":{\"tabSize\":4}}}"
  frame '{"jsonrpc":"2.0","method":"textDocument/didChange","params":{"textDocument":{"uri":"file:///tmp/prog.lbd","version":2},"contentChanges":[{"range":{"start":{"line":2,"character":20},"end":{"line":2,"character":24}},"text":"Round"},{"text":"Sub Main\n  x=1\nEnd Sub\n"}]}}'
  frame '{"jsonrpc":"2.0","method":"textDocument/didClose","params":{"textDocument":{"uri":"file:///tmp/prog.lbd"}}}'
  frame "$bye"; frame "$quit"
} >"$corpus/lsp/session"
{
  frame '{"jsonrpc":"2.0","id":0,"method":"textDocument/hover","params":{}}'
  frame '{"jsonrpc":"2.0","id":1,"method":"initialize","params":{"capabilities":{"general":{"positionEncodings":["utf-8"]},"workspace":{"configuration":true}},"initializationOptions":{"strict":true,"extensions":"examples/modules/console.ext"}}}'
  frame "$initialized"
  frame '{"jsonrpc":"2.0","id":1,"result":[{"strict":false}]}'
  frame '{"jsonrpc":"2.0","method":"workspace/didChangeConfiguration","params":{"settings":{"lumbasic":{"strict":true}}}}'
  frame '{"jsonrpc":"2.0","method":"textDocument/didOpen","params":{"textDocument":{"uri":"file:///tmp/p.lbd","version":1,"text":"Sub Main\n    Print net\nEnd Sub\n"}}}'
  frame '{"jsonrpc":"2.0","id":2,"method":"no/such/method"}'
  frame '{"jsonrpc":"2.0","id":[1],"method":"shutdown"}'
  frame '{"jsonrpc":"2.0","id":3,"method":"textDocument/hover","params":{"textDocument":{"uri":"file:///tmp/p.lbd"},"position":{"line":-4,"character":1e9}}}'
  frame "$bye"; frame '{"jsonrpc":"2.0","id":100,"method":"textDocument/hover"}'; frame "$quit"
} >"$corpus/lsp/settings"
{
  frame "$init"
  printf 'Content-Length: 9\r\n\r\nnot json!garbage\r\n\r\nContent-Length: x\r\n\r\n'
  frame '[1,2,3]'; frame '{"jsonrpc":"2.0"}'
  frame "$initialized"; frame "$open_prog"
  printf 'Content-Length: 99999999999\r\n\r\n'
} >"$corpus/lsp/garbage"
{
  frame '{"jsonrpc":"2.0","id":1,"method":"initialize","params":{"capabilities":{},"rootUri":"file:///nowhere"}}'
  frame "$initialized"
  frame '{"jsonrpc":"2.0","method":"textDocument/didOpen","params":{"textDocument":{"uri":"file:///tmp/geo.lbd","version":1,"text":"Declare Function Sqrt(x)\nSub Main\n    Import \"examples/mathlib.lbc\"\n    r = Sqrt(2)\nEnd Sub\n"}}}'
  frame '{"jsonrpc":"2.0","id":2,"method":"textDocument/definition","params":{"textDocument":{"uri":"file:///tmp/geo.lbd"},"position":{"line":3,"character":9}}}'
  frame '{"jsonrpc":"2.0","id":3,"method":"textDocument/definition","params":{"textDocument":{"uri":"file:///tmp/geo.lbd"},"position":{"line":2,"character":14}}}'
  frame '{"jsonrpc":"2.0","id":4,"method":"textDocument/completion","params":{"textDocument":{"uri":"file:///tmp/geo.lbd"},"position":{"line":3,"character":8}}}'
} >"$corpus/lsp/import"

# Debug adapter sessions: framed requests as an editor writes them, on the program of
# the target at its fixed path (fuzz/LumFuzzDap.cpp).
req() { frame "{\"seq\":$1,\"type\":\"request\",\"command\":\"$2\",\"arguments\":{${3:-}}}"; }
src='"source":{"path":"/tmp/lumfuzz-dap/prog.lbd"}'
{
  req 1 initialize '"adapterID":"lumbasic"'; req 2 launch '"program":"prog.lbd","stopOnEntry":true'
  req 3 setBreakpoints "$src"',"breakpoints":[{"line":5,"condition":"i% = 2"},{"line":11},{"line":18,"hitCondition":">=2","logMessage":"here {here} of {b}"}]'
  req 4 setExceptionBreakpoints '"filters":["failure"]'; req 5 configurationDone; req 6 threads
  req 7 stackTrace '"threadId":1'; req 8 scopes '"frameId":0'; req 9 variables '"variablesReference":1'
  req 10 next '"threadId":1'; req 11 stepIn '"threadId":1'; req 12 continue '"threadId":1'
  req 13 stackTrace '"threadId":1,"startFrame":1,"levels":2'; req 14 scopes '"frameId":1'
  req 15 variables '"variablesReference":2'; req 16 variables '"variablesReference":3'
  req 17 setVariable '"variablesReference":2,"name":"total%","value":"42xyz"'
  req 18 evaluate '"expression":"total% * 2 + values(1)","frameId":0,"context":"watch"'
  req 19 evaluate '"expression":"Outer(1)","frameId":0,"context":"hover"'
  req 20 evaluate '"expression":"i% = 7","frameId":0,"context":"repl"'
  req 21 evaluate '"expression":"values","frameId":0,"context":"watch"'
  req 22 stepOut '"threadId":1'; req 23 continue '"threadId":1'; req 24 exceptionInfo '"threadId":1'
  req 25 continue '"threadId":1'; req 26 disconnect
} >"$corpus/dap/session"
{
  req 1 stackTrace '"threadId":1'; req 2 continue; req 3 no-such-command
  printf 'Content-Length: 9\r\n\r\nnot json!garbage\r\n\r\nContent-Length: x\r\n\r\n'
  frame '[1,2,3]'; frame '{"seq":"x","type":"request","command":"threads"}'; frame '{"type":"event","event":"x"}'
  req 4 initialize; req 5 launch '"program":7'; req 6 launch '"stopOnEntry":true,"answer":"x"'
  req 7 launch '"modules":[{"library":"x.so"}]'; req 8 launch '"stopOnEntry":true'; req 9 launch
  req 10 setBreakpoints '"breakpoints":[{"line":-3}]'; req 11 setBreakpoints "$src"',"breakpoints":[{"line":99},{"line":1,"hitCondition":"%0"}]'
  req 12 configurationDone; req 13 variables '"variablesReference":77'; req 14 scopes '"frameId":-1'
  req 15 evaluate '"expression":"(((","frameId":0'; req 16 evaluate '"expression":"x = ","context":"repl"'
  req 17 setVariable '"variablesReference":1,"name":"nobody","value":"1"'; req 18 stepIn
  printf 'Content-Length: 99999999999\r\n\r\n'
} >"$corpus/dap/garbage"
{
  req 1 initialize; req 2 configurationDone; req 3 launch '"program":"p","answer":2,"plain":true,"trail":true'
  req 4 setExceptionBreakpoints '"filters":[]'; req 5 pause '"threadId":1'; req 6 stackTrace '"threadId":1'
  req 7 terminate; req 8 disconnect '"terminateDebuggee":true'
} >"$corpus/dap/quiet"

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
{
  {
    printf '%s\n' 'Content-Length: ' '"jsonrpc":"2.0"' '"id":' '"method":' '"params":' '"result":' \
      '"textDocument":' '"uri":"file:///tmp/prog.lbd"' '"position":' '"line":' '"character":' '"range":' \
      '"start":' '"end":' '"text":' '"contentChanges":' '"version":' '"newName":' '"settings":' '"lumbasic":'
    grep -o '{"[a-zA-Z/$]*",' lsp/LumLspServer.cpp | tr -d '{,'
  } | sed 's/\\/\\\\/g; s/"/\\"/g; s/.*/"&"/'
  printf '"\\x0d\\x0a\\x0d\\x0a"\n'
} | sort -u >fuzz/lsp.dict
{
  {
    printf '%s\n' 'Content-Length: ' '"seq":' '"type":"request"' '"command":' '"arguments":' '"threadId":1' \
      '"frameId":' '"variablesReference":' '"expression":' '"context":"repl"' '"line":' '"condition":' \
      '"hitCondition":' '"logMessage":' '"breakpoints":' '"source":{"path":"/tmp/lumfuzz-dap/prog.lbd"}' \
      '"stopOnEntry":true' '"filters":["failure"]' '"name":' '"value":'
    grep -o '{"[a-zA-Z]*", [&E]' dap/LumDapServer.cpp | cut -d, -f1 | tr -d '{'
  } | sed 's/\\/\\\\/g; s/"/\\"/g; s/.*/"&"/'
  printf '"\\x0d\\x0a\\x0d\\x0a"\n'
} | sort -u >fuzz/dap.dict
