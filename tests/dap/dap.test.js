// The debug adapter as an editor meets it: `lumbasic dap` driven through the DebugClient
// of @vscode/debugadapter-testsupport. Needs LUMBASIC (the command) and the npm package
// on NODE_PATH.
'use strict';
const test = require('node:test');
const assert = require('node:assert');
const cp = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
let DebugClient;
try {
  ({ DebugClient } = require('@vscode/debugadapter-testsupport'));
} catch {
  console.log('skipped: the npm package @vscode/debugadapter-testsupport is not on NODE_PATH');
  process.exit(77);
}

// An adapter that stops answering fails its test rather than holding the suite.
const timeout = { timeout: 30000 };

const dir = fs.mkdtempSync(path.join(os.tmpdir(), 'lumdap-'));
test.after(() => fs.rmSync(dir, { recursive: true, force: true }));
const write = (name, lines) => {
  fs.writeFileSync(path.join(dir, name), lines.join('\n') + '\n');
  return fs.realpathSync(path.join(dir, name));
};
const prog = write('prog.lbd', [
  "' The program the adapter's tests debug.",           // 1
  'Declare Function Triple(x)',                          // 2
  '',                                                    // 3
  'Sub Main',                                            // 4
  '    total% = 0',                                      // 5
  '    Dim values(3)',                                   // 6
  '    For i% = 1 To 3',                                 // 7
  '        values(i%) = i% * 10',                        // 8
  '        total% = total% + i%',                        // 9
  '    Next',                                            // 10
  "    ' a comment: a breakpoint here moves down",       // 11
  '    depth = Outer(2)',                                // 12
  '    Import "lib.lbc"',                                // 13
  '    tripled = Triple(depth)',                         // 14
  '    Print "total", total%',                           // 15
  '    ratio = total% / divisor%',                       // 16
  'End Sub',                                             // 17
  '',                                                    // 18
  'Function Outer(a)',                                   // 19
  '    Outer = Middle(a + 1)',                           // 20
  'End Function',                                        // 21
  '',                                                    // 22
  'Function Middle(b)',                                  // 23
  '    Dim here',                                        // 24
  '    here = b * 2',                                    // 25
  '    Middle = Inner(here)',                            // 26
  'End Function',                                        // 27
  '',                                                    // 28
  'Function Inner(c)',                                   // 29
  '    Inner = c + 1',                                   // 30
  'End Function',                                        // 31
]);
const lib = write('lib.lbd', ["' The imported library.", 'Function Triple(x)', '    Triple = x * 3', 'End Function']);
// The endless loop (Spin%(0)) runs inside a function the engine runs whole: the calls
// before it warmed it up. A pause that finds it running whole stops at the function's
// first line (line 8), where the regular way runs the call again; one that comes later
// stops in the loop.
const endless = write('endless.lbd', ['Declare Function Spin%(k%)', 'Sub Main', '    For j% = 3 To 0 Step -1',
  '        n% = n% + Spin%(j%)', '    Next j%', 'End Sub', 'Function Spin%(k%)', '    i% = 0',
  '    While i% < k% Or k% = 0', '        i% = i% + 1', '    Wend', '    Spin% = i%', 'End Function']);
const broken = write('broken.lbd', ['Sub Main', '    x = (1', 'End Sub']);
const varsFile = write('vars.txt', ['L:divisor%=2']);
cp.execFileSync(process.env.LUMBASIC, ['compile', lib, '-o', path.join(dir, 'lib.lbc')]);

// An adapter that a failed test leaves running ends with the suite.
const clients = [];
test.after(() => clients.forEach((dc) => dc.stopAdapter()));
async function start() {
  const dc = new DebugClient(process.env.LUMBASIC, 'dap', 'lumbasic', { cwd: dir });
  clients.push(dc);
  await dc.start();
  return dc;
}

// Launches the program with the breakpoints of `lines` in `source`; resolves with
// the first stop's event.
async function launch(dc, args, source = prog, breakpoints = []) {
  const [, , stopped] = await Promise.all([
    dc.waitForEvent('initialized').then(async () => {
      if (breakpoints.length) await dc.setBreakpointsRequest({ source: { path: source }, breakpoints });
      return dc.configurationDoneRequest();
    }),
    dc.launch({ program: prog, cwd: dir, ...args }),
    dc.waitForEvent('stopped'),
  ]);
  return stopped;
}
const top = async (dc) => (await dc.stackTraceRequest({ threadId: 1 })).body.stackFrames;
async function step(dc, request) {
  const [stopped] = await Promise.all([dc.waitForEvent('stopped'), dc[request]({ threadId: 1 })]);
  return { reason: stopped.body.reason, frames: await top(dc) };
}
async function vars(dc, reference) {
  const answer = await dc.variablesRequest({ variablesReference: reference });
  return Object.fromEntries(answer.body.variables.map((v) => [v.name, v]));
}
const where = (frames) => frames.map((f) => `${f.name}@${path.basename(f.source.path)}:${f.line}`);

test('entry, a breakpoint that moves, stepping and the stack of three calls', timeout, async () => {
  const dc = await start();
  const entry = await launch(dc, { stopOnEntry: true });
  assert.strictEqual(entry.body.reason, 'entry');
  assert.deepStrictEqual(where(await top(dc)), ['Main@prog.lbd:5']);
  const set = await dc.setBreakpointsRequest({ source: { path: prog }, breakpoints: [{ line: 11 }, { line: 30 }] });
  assert.deepStrictEqual(set.body.breakpoints.map((b) => [b.verified, b.line]), [[true, 12], [true, 30]]);
  assert.deepStrictEqual(where((await step(dc, 'continueRequest')).frames), ['Main@prog.lbd:12']);
  assert.deepStrictEqual(where((await step(dc, 'stepInRequest')).frames), ['Outer@prog.lbd:20', 'Main@prog.lbd:12']);
  assert.deepStrictEqual(where((await step(dc, 'continueRequest')).frames),
    ['Inner@prog.lbd:30', 'Middle@prog.lbd:26', 'Outer@prog.lbd:20', 'Main@prog.lbd:12']);
  // The caller's frame shows its local beside the globals.
  const scopes = (await dc.scopesRequest({ frameId: 1 })).body.scopes;
  assert.deepStrictEqual(scopes.map((s) => s.name), ['Lokal', 'Global']);
  assert.strictEqual((await vars(dc, scopes[0].variablesReference)).here.value, '6.000000');
  assert.strictEqual((await vars(dc, scopes[1].variablesReference))['total%'].value, '6');
  // Out to the callers' next lines, then over the import and the call of line 14.
  assert.deepStrictEqual(where((await step(dc, 'stepOutRequest')).frames).slice(0, 2),
    ['Middle@prog.lbd:27', 'Outer@prog.lbd:20']);
  assert.deepStrictEqual(where((await step(dc, 'stepOutRequest')).frames)[0], 'Outer@prog.lbd:21');
  for (const line of [13, 14, 15]) {
    assert.deepStrictEqual(where((await step(dc, 'nextRequest')).frames), [`Main@prog.lbd:${line}`]);
  }
  await dc.stop();
});

test('a conditional breakpoint in a loop, arrays, setVariable and evaluate', timeout, async () => {
  const dc = await start();
  // A log point from its second pass, then the stop on the pass the condition names.
  const logged = dc.assertOutput('console', 'pass 2 of 1\n');
  const stopped = await launch(dc, {}, prog,
    [{ line: 8, logMessage: 'pass {i%} of {total%}', hitCondition: '>=2' }, { line: 9, condition: 'i% = 2' }]);
  assert.strictEqual(stopped.body.reason, 'breakpoint');
  await logged;
  const globals = (await dc.scopesRequest({ frameId: 0 })).body.scopes.at(-1).variablesReference;
  const before = await vars(dc, globals);
  assert.deepStrictEqual([before['i%'].value, before['total%'].value], ['2', '1']);
  const elements = await vars(dc, before.values.variablesReference);
  assert.deepStrictEqual(Object.keys(elements), ['values(1)', 'values(2)']);
  assert.strictEqual(elements['values(2)'].value, '20.000000');
  const changed = await dc.setVariableRequest({ variablesReference: globals, name: 'total%', value: '42xyz' });
  assert.deepStrictEqual([changed.body.value, changed.body.type], ['42', 'Long']);
  const evaluate = (expression, context = 'watch') => dc.evaluateRequest({ expression, frameId: 0, context });
  assert.strictEqual((await evaluate('total% * 2 + values(2)')).body.result, '104.000000');
  assert.strictEqual((await evaluate('values(2)', 'hover')).body.result, '20.000000');
  await assert.rejects(evaluate('Outer(1)'), /ändern/);
  assert.strictEqual((await evaluate('i% = 3.7', 'repl')).body.result, '3');
  await dc.stop();
});

test('a breakpoint in an imported library, output and exit status 0', timeout, async () => {
  const dc = await start();
  await launch(dc, { vars: varsFile }, lib, [{ line: 3 }]);
  assert.deepStrictEqual(where(await top(dc)), ['Triple@lib.lbd:3', 'Main@prog.lbd:14']);
  const [, exited] = await Promise.all([
    dc.assertOutput('stdout', 'total 6\n'), dc.waitForEvent('exited'), dc.continueRequest({ threadId: 1 })]);
  assert.strictEqual(exited.body.exitCode, 0);
  await dc.stop();
});

test('a failure stops with its report, and the run ends with status 1', timeout, async () => {
  const dc = await start();
  const stopped = await launch(dc, {});
  assert.strictEqual(stopped.body.reason, 'exception');
  assert.deepStrictEqual(where(await top(dc)), ['Main@prog.lbd:16']);
  const info = await dc.exceptionInfoRequest({ threadId: 1 });
  assert.match(info.body.description, /prog\.lbd:16: Division durch Null/);
  const [exited] = await Promise.all([dc.waitForEvent('exited'), dc.continueRequest({ threadId: 1 })]);
  assert.strictEqual(exited.body.exitCode, 1);
  await dc.stop();
  // Without the filter the run ends at once, with the report on standard error.
  const quiet = await start();
  const [, , ended] = await Promise.all([
    quiet.waitForEvent('initialized').then(() => quiet.setExceptionBreakpointsRequest({ filters: [] }))
      .then(() => quiet.configurationDoneRequest()),
    quiet.launch({ program: prog }), quiet.waitForEvent('exited'),
    quiet.assertOutput('stderr', `${prog}:16: Division durch Null.`)]);
  assert.strictEqual(ended.body.exitCode, 1);
  await quiet.stop();
});

test('a program that does not compile, pause in an endless loop, a malformed request', timeout, async () => {
  const dc = await start();
  await assert.rejects(dc.launch({ program: broken }), /fehlerhaft: .*broken\.lbd:2:/);
  await Promise.all([dc.configurationSequence(), dc.launch({ program: endless })]);
  await new Promise((wake) => setTimeout(wake, 100)); // well into the loop
  const [stopped] = await Promise.all([dc.waitForEvent('stopped'), dc.pauseRequest({ threadId: 1 })]);
  assert.strictEqual(stopped.body.reason, 'pause');
  await assert.rejects(dc.evaluateRequest({ frameId: 0 }), /"evaluate" ist fehlerhaft/);
  assert.match(where(await top(dc))[0], /^Spin%@endless\.lbd:(8|9|10|11)$/);
  await Promise.all([dc.waitForEvent('terminated'), dc.terminateRequest({})]);
  await dc.stop();
});
