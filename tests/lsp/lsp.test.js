// The language server as an editor meets it: `lumbasic lsp` driven through
// vscode-languageserver-protocol, the client library of VS Code. Needs LUMBASIC (the
// command) and the npm packages on NODE_PATH.
'use strict';
const test = require('node:test');
const assert = require('node:assert');
const cp = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const { pathToFileURL } = require('node:url');
let lsp;
try {
  lsp = require('vscode-languageserver-protocol/node');
} catch {
  console.log('skipped: the npm package vscode-languageserver-protocol is not on NODE_PATH');
  process.exit(77);
}
// A server that stops answering fails its test rather than holding the suite.
const timeout = { timeout: 30000 };

// Servers a failed test left running end with the suite.
const children = [];
test.after(() => children.forEach((child) => child.kill()));

// A server with a connection, the diagnostics it publishes, and its raw input.
async function start(capabilities = {}, extra = {}) {
  const child = cp.spawn(process.env.LUMBASIC, ['lsp'], { stdio: ['pipe', 'pipe', 'inherit'] });
  children.push(child);
  const connection = lsp.createProtocolConnection(
    new lsp.StreamMessageReader(child.stdout), new lsp.StreamMessageWriter(child.stdin));
  const published = new Map();
  const waiting = [];
  connection.onNotification(lsp.PublishDiagnosticsNotification.type, (params) => {
    published.set(params.uri, params.diagnostics);
    waiting.splice(0).forEach((wake) => wake());
  });
  connection.listen();
  const init = await connection.sendRequest(lsp.InitializeRequest.type,
    { processId: null, rootUri: null, capabilities, ...extra });
  connection.sendNotification(lsp.InitializedNotification.type, {});
  const server = {
    child, connection, init,
    // The diagnostics of a document once `done` holds for them.
    async diagnostics(uri, done) {
      while (!(published.has(uri) && done(published.get(uri)))) {
        await new Promise((wake) => waiting.push(wake));
      }
      return published.get(uri);
    },
    open(uri, text) {
      connection.sendNotification(lsp.DidOpenTextDocumentNotification.type,
        { textDocument: { uri, languageId: 'lumbasic', version: 1, text } });
    },
    request(type, params) { return connection.sendRequest(type, params); },
    async stop() {
      await connection.sendRequest(lsp.ShutdownRequest.type);
      connection.sendNotification(lsp.ExitNotification.type);
      const status = await new Promise((done) => child.on('exit', done));
      connection.dispose();
      assert.strictEqual(status, 0);
    },
  };
  return server;
}

const at = (line, character) => ({ line, character });
const doc = (uri, position) => ({ textDocument: { uri }, position });

// Edits applied back to front, positions as JavaScript counts them: UTF-16.
function apply(text, edits) {
  const lines = text.split('\n');
  const offset = (p) => lines.slice(0, p.line).reduce((n, l) => n + l.length + 1, 0) + p.character;
  const sorted = [...edits].sort((a, b) => offset(b.range.start) - offset(a.range.start));
  for (const edit of sorted) {
    text = text.slice(0, offset(edit.range.start)) + edit.newText + text.slice(offset(edit.range.end));
  }
  return text;
}

test('the errors of a broken program, under the right characters after non-ASCII text, and gone after the fix', timeout,
  async () => {
    const text = 'Sub Main\n    s$ = "€ä😀" : x = Rund(2)\nEnd Sub\n';
    for (const [encodings, column] of [[undefined, 22], [['utf-8'], 27]]) {
      const server = await start({ general: { positionEncodings: encodings } });
      assert.strictEqual(server.init.capabilities.positionEncoding, encodings ? 'utf-8' : 'utf-16');
      const uri = 'file:///tmp/broken.lbd';
      server.open(uri, text);
      const [error] = await server.diagnostics(uri, (d) => d.length > 0);
      assert.strictEqual(error.message, "'Rund' is not declared; did you mean 'Round'?");
      assert.strictEqual(error.code, 'unknown-name');
      assert.strictEqual(error.severity, lsp.DiagnosticSeverity.Error);
      assert.deepStrictEqual(error.range, { start: at(1, column), end: at(1, column + 4) });
      server.connection.sendNotification(lsp.DidChangeTextDocumentNotification.type, {
        textDocument: { uri, version: 2 },
        contentChanges: [{ range: { start: at(1, column + 1), end: at(1, column + 1) }, text: 'o' }],
      });
      assert.deepStrictEqual(await server.diagnostics(uri, (d) => d.length === 0), []);
      await server.stop();
    }
  });

test('the settings switch strict on and name the extension table', timeout, async () => {
  const extensions = path.resolve(__dirname, '../../examples/modules/console.ext');
  const server = await start({}, { initializationOptions: { strict: true, extensions } });
  const uri = 'file:///tmp/strict.lbd';
  server.open(uri, 'Sub Main\n    total = 100\n    net = totl * 0.97\n    Print net\nEnd Sub\n');
  const [warning, ...rest] = await server.diagnostics(uri, (d) => d.length > 0);
  assert.deepStrictEqual(rest, [], 'Print is a statement of the host');
  assert.strictEqual(warning.severity, lsp.DiagnosticSeverity.Warning);
  assert.strictEqual(warning.code, 'unassigned-variable');
  assert.deepStrictEqual(warning.range, { start: at(2, 10), end: at(2, 14) });
  const hover = await server.request(lsp.HoverRequest.type, doc(uri, at(3, 5)));
  assert.match(hover.contents.value, /statement of the host/);
  await server.stop();
});

const PROGRAM = [
  'Sub Main',                      // 0
  '    total = 1 : x = 2',         // 1
  '    Tally 5',                   // 2
  '    y = x + Round(total, 2)',   // 3
  'End Sub',                       // 4
  'Sub Tally(amount)',             // 5
  '    Dim x, k%',                 // 6
  '    x = amount',                // 7
  '    ',                          // 8
  '    total = total + x',         // 9
  'End Sub',                       // 10
  'Sub Other()',                   // 11
  '    Dim own%',                  // 12
  'End Sub',                       // 13
  ''].join('\n');

test('completion inside a procedure offers its own variables, the globals, statements and built-ins', timeout, async () => {
  const server = await start({ textDocument: { completion: { completionItem: { snippetSupport: true } } } });
  const uri = 'file:///tmp/program.lbd';
  server.open(uri, PROGRAM);
  const labels = async (position) =>
    new Map((await server.request(lsp.CompletionRequest.type, doc(uri, position))).items.map((i) => [i.label, i]));
  const statement = await labels(at(8, 4));
  for (const label of ['k%', 'x', 'amount', 'total', 'Tally', 'Dim', 'For … Next']) {
    assert.ok(statement.has(label), label);
  }
  assert.ok(!statement.has('own%'), 'a local of another procedure');
  assert.match(statement.get('For … Next').insertText, /^For \$\{1:i%\} = .*\nNext \$\{1:i%\}$/s);
  const expression = await labels(at(3, 13));
  assert.strictEqual(expression.get('Round').detail, 'Round(x [, digits [, mode]])');
  assert.ok(!expression.has('Dim'));
  await server.stop();
});

test('hover on Round shows its signature and what it does; signature help knows the argument', timeout, async () => {
  const server = await start();
  const uri = 'file:///tmp/program.lbd';
  server.open(uri, PROGRAM);
  const hover = await server.request(lsp.HoverRequest.type, doc(uri, at(3, 15)));
  assert.match(hover.contents.value, /Round\(x \[, digits \[, mode\]\]\)/);
  assert.match(hover.contents.value, /decimal places/);
  assert.deepStrictEqual(hover.range, { start: at(3, 12), end: at(3, 17) });
  const help = await server.request(lsp.SignatureHelpRequest.type, doc(uri, at(3, 25)));
  assert.strictEqual(help.signatures[0].label, 'Round(x, digits, mode)');
  assert.strictEqual(help.activeParameter, 1);
  await server.stop();
});

test('definition of a Sub of an imported library, and of the Import itself', timeout, async () => {
  const dir = fs.mkdtempSync(path.join(os.tmpdir(), 'lumlsp-'));
  try {
    fs.writeFileSync(path.join(dir, 'lib.lbd'), "' a library\n\nSub Greet(who$)\n    text$ = who$\nEnd Sub\n");
    const main = 'Declare Sub Greet(who$)\n\nSub Main\n    Import "lib.lbc"\n    Greet "Anna"\nEnd Sub\n';
    const server = await start({}, { rootUri: pathToFileURL(dir).href });
    const uri = pathToFileURL(path.join(dir, 'main.lbd')).href;
    server.open(uri, main);
    const lib = pathToFileURL(path.join(dir, 'lib.lbd')).href;
    const sub = await server.request(lsp.DefinitionRequest.type, doc(uri, at(4, 6)));
    assert.deepStrictEqual(sub, { uri: lib, range: { start: at(2, 4), end: at(2, 9) } });
    const file = await server.request(lsp.DefinitionRequest.type, doc(uri, at(3, 14)));
    assert.strictEqual(file.uri, lib);
    const hover = await server.request(lsp.HoverRequest.type, doc(uri, at(4, 6)));
    assert.match(hover.contents.value, /Sub Greet\(who\$\)[^]*Defined in lib\.lbd, line 3/);
    await assert.rejects(server.request(lsp.PrepareRenameRequest.type, doc(uri, at(4, 6))),
      /defined in an imported library/);
    await server.stop();
  } finally {
    fs.rmSync(dir, { recursive: true });
  }
});

test('renaming a local leaves the global of the same name alone; references follow the scope', timeout, async () => {
  const server = await start();
  const uri = 'file:///tmp/program.lbd';
  server.open(uri, PROGRAM);
  const result = await server.request(lsp.RenameRequest.type, { ...doc(uri, at(7, 4)), newName: 'part' });
  const lines = result.changes[uri].map((e) => e.range.start.line).sort((a, b) => a - b);
  assert.deepStrictEqual(lines, [6, 7, 9]);
  const renamed = apply(PROGRAM, result.changes[uri]).split('\n');
  assert.strictEqual(renamed[1], '    total = 1 : x = 2');
  assert.strictEqual(renamed[9], '    total = total + part');
  const globals = await server.request(lsp.ReferencesRequest.type,
    { ...doc(uri, at(9, 6)), context: { includeDeclaration: true } });
  assert.deepStrictEqual(globals.map((l) => l.range.start.line), [1, 3, 9, 9]);
  await assert.rejects(server.request(lsp.RenameRequest.type, { ...doc(uri, at(7, 4)), newName: 'k%' }),
    /type character/);
  await server.stop();
});

test('formatting gives the canonical layout, and nothing more to do the second time', timeout, async () => {
  const server = await start();
  const uri = 'file:///tmp/messy.lbd';
  const messy = "sub main\nfor i%=1 to 3\n  x=x+Round( i% ,2)' sum\n next\nEND SUB\n";
  server.open(uri, messy);
  const options = { tabSize: 4, insertSpaces: true };
  const edits = await server.request(lsp.DocumentFormattingRequest.type, { textDocument: { uri }, options });
  const formatted = apply(messy, edits);
  assert.strictEqual(formatted,
    "Sub main\n    For i% = 1 To 3\n        x = x + Round(i%, 2) ' sum\n    Next\nEnd Sub\n");
  server.connection.sendNotification(lsp.DidChangeTextDocumentNotification.type,
    { textDocument: { uri, version: 2 }, contentChanges: [{ text: formatted }] });
  assert.deepStrictEqual(
    await server.request(lsp.DocumentFormattingRequest.type, { textDocument: { uri }, options }), []);
  await server.stop();
});

test('garbage, an unknown method and an unopened document get errors, and the server goes on', timeout, async () => {
  const server = await start();
  server.child.stdin.write('Content-Length: 9\r\n\r\nnot json!');
  server.child.stdin.write('this is no header at all\r\n\r\n');
  await assert.rejects(server.request('lumbasic/unknown', {}), (e) => e.code === -32601);
  await assert.rejects(server.request(lsp.HoverRequest.type, doc('file:///tmp/closed.lbd', at(0, 0))),
    (e) => e.code === -32602 && /not open/.test(e.message));
  const uri = 'file:///tmp/program.lbd';
  server.open(uri, PROGRAM);
  const symbols = await server.request(lsp.DocumentSymbolRequest.type, { textDocument: { uri } });
  assert.deepStrictEqual(symbols.map((s) => s.name), ['Main', 'Tally', 'Other']);
  await server.stop();
});
