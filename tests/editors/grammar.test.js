'use strict';
// The VS Code extension's grammar, tokenised with the libraries VS Code itself uses,
// over the programs of the tree, and its indentation rules over chosen lines.
// Usage: node grammar.test.js SOURCE_DIR, with LUM_NODE_MODULES naming a node_modules
// that holds vscode-textmate and vscode-oniguruma; without it the test is skipped.
const assert = require('node:assert');
const fs = require('node:fs');
const path = require('node:path');
const test = require('node:test');

const SKIP = 77;
const modules = process.env.LUM_NODE_MODULES;
if (!modules) {
    console.log('skipped: LUM_NODE_MODULES names no node_modules with vscode-textmate and vscode-oniguruma;');
    console.log('.ci/run installs them from npm into a scratch folder and sets it (docs/editors.md)');
    process.exit(SKIP);
}
const textmate = require(path.join(modules, 'vscode-textmate'));
const oniguruma = require(path.join(modules, 'vscode-oniguruma'));

const root = path.resolve(process.argv[2] || path.join(__dirname, '../..'));
const extension = path.join(root, 'editors/vscode');

// The words the compiler reserves and its built-in functions, read from the compiler
// so that a word added there and missing in the grammar fails here. A string function
// may be written without its $.
function compilerWords(file, list, entry) {
    const text = fs.readFileSync(path.join(root, 'compiler', file), 'utf8');
    const body = text.slice(text.indexOf(list), text.indexOf('};', text.indexOf(list)));
    const words = [...body.matchAll(entry)].map((m) => m[1]);
    assert.ok(words.length > 15, `no word list ${list} in compiler/${file}`);
    return words;
}
const RESERVED = compilerWords('LumParser.cpp', 's_apszReserved', /"(\w+)"/g);
// NameOf is reserved, and written like a function.
const BUILTINS = [...compilerWords('LumBuiltinTable.cpp', 's_aBuiltins', /\{"([\w$]+)", LBT_/g), 'NameOf'];
const WORDS = new Map([
    ...RESERVED.map((w) => [w.toLowerCase(), /^(keyword|storage\.type)\./]),
    ...BUILTINS.flatMap((w) => [w, w.replace('$', '')]).map((w) => [w.toLowerCase(), /^support\.function\./]),
]);

let grammarLoaded;
function loadGrammar() {
    grammarLoaded = grammarLoaded || loadGrammarOnce();
    return grammarLoaded;
}

async function loadGrammarOnce() {
    const onigDir = path.dirname(require.resolve(path.join(modules, 'vscode-oniguruma')));
    await oniguruma.loadWASM(fs.readFileSync(path.join(onigDir, 'onig.wasm')).buffer);
    const file = path.join(extension, 'syntaxes/lumbasic.tmLanguage.json');
    const registry = new textmate.Registry({
        onigLib: Promise.resolve({
            createOnigScanner: (patterns) => new oniguruma.OnigScanner(patterns),
            createOnigString: (text) => new oniguruma.OnigString(text),
        }),
        loadGrammar: async (scopeName) =>
            scopeName === 'source.lumbasic' ? textmate.parseRawGrammar(fs.readFileSync(file, 'utf8'), file) : null,
    });
    return registry.loadGrammar('source.lumbasic');
}

// Each line's tokens as { text, scopes, line, start, end }.
function tokenise(grammar, source) {
    let stack = textmate.INITIAL;
    return source.split(/\r?\n/).flatMap((line, index) => {
        const result = grammar.tokenizeLine(line, stack);
        stack = result.ruleStack;
        return result.tokens.map((t) => ({
            text: line.slice(t.startIndex, t.endIndex),
            scopes: t.scopes,
            line,
            start: t.startIndex,
            end: t.endIndex,
            where: `line ${index + 1}: ${line.trim()}`,
        }));
    });
}

function programs() {
    const dirs = ['examples', 'examples/modules', 'examples/embedding', 'tests/programs', 'bench/compare'];
    return dirs.flatMap((dir) =>
        fs.existsSync(path.join(root, dir))
            ? fs.readdirSync(path.join(root, dir)).filter((f) => f.endsWith('.lbd')).map((f) => path.join(dir, f))
            : [],
    );
}

const hasScope = (token, prefix) => token.scopes.some((s) => s.startsWith(prefix));

test('chosen tokens get their scopes, and words that only begin like a keyword none', async () => {
    const grammar = await loadGrammar();
    const invoice = tokenise(grammar, fs.readFileSync(path.join(root, 'examples/invoice.lbd'), 'utf8'));
    const snippet = tokenise(
        grammar,
        [
            'Rem a comment where a statement starts',
            'Sub Main',
            '    Fortune = 1 : Next1% = 2 : rem here too',
            '    s$ = "say ""hi""" + Str$(Round(x, 2, 2), "ZZ9,99 kg") ' + "' done",
            'End Sub',
        ].join('\n'),
    );
    // [tokens, line that holds it, the token's text, the scope it must have]
    const cases = [
        [invoice, "' An invoice", "'", 'comment.line.quote'],
        [invoice, 'Declare Function Euro$', 'Declare', 'keyword.other.declare'],
        [invoice, 'Declare Function Euro$', 'Euro$', 'entity.name.function'],
        [invoice, 'For i% = 1 To count%', 'For', 'keyword.control.loop'],
        [invoice, 'For i% = 1 To count%', '%', 'storage.type.suffix.long'],
        [invoice, 'vatRate% = 19', '19', 'constant.numeric'],
        [invoice, 'price(1) = 3.49', '3.49', 'constant.numeric'],
        [invoice, 'netLine$ = Pad$("Netto"', 'Netto', 'string.quoted.double'],
        [invoice, 'text$ = Str$(Round', 'Str$', 'support.function.builtin'],
        [invoice, 'text$ = Str$(Round', '.', 'string.quoted.double.template'],
        [invoice, 'End Function', 'End Function', 'keyword.control.end'],
        [snippet, 'Rem a comment', 'Rem', 'comment.line.rem'],
        [snippet, 'Fortune', 'Fortune', 'variable.other'],
        [snippet, 'Fortune', 'Next1', 'variable.other'],
        [snippet, 'Fortune', ' here too', 'comment.line.rem'],
        [snippet, 'say', '""', 'constant.character.escape'],
        [snippet, 'say', ' kg', 'string.quoted.double.template'],
        [snippet, 'say', 'ZZ9', 'constant.other.placeholder'],
        [snippet, 'say', ' done', 'comment.line.quote'],
    ];
    for (const [tokens, lineHas, text, scope] of cases) {
        const token = tokens.find(
            (t) => t.line.includes(lineHas) && t.text === text && t.start >= t.line.indexOf(lineHas),
        );
        assert.ok(token, `no token '${text}' in the line with '${lineHas}'`);
        assert.ok(hasScope(token, scope), `'${text}' (${token.where}) has ${token.scopes.join(' ')}, not ${scope}`);
    }
});

test('every program of the tree: keywords and built-ins scoped, no keyword inside a name', async () => {
    const grammar = await loadGrammar();
    const files = programs();
    assert.ok(files.length >= 20, `only ${files.length} programs found under ${root}`);
    // Every word of the compiler once, also those no program uses yet.
    const sources = files.map((file) => [file, fs.readFileSync(path.join(root, file), 'utf8')]);
    sources.push(["the compiler's words", `    x = ${[...RESERVED, ...BUILTINS].join(' ')}`]);
    for (const [file, source] of sources) {
        for (const token of tokenise(grammar, source)) {
            const where = `${file} ${token.where}`;
            if (hasScope(token, 'comment.') || hasScope(token, 'string.')) continue;
            // The word a token starts, with its type suffix: next% is a name, not Next.
            const before = token.line[token.start - 1] || ' ';
            const word = /\w/.test(before) ? '' : (token.line.slice(token.start).match(/^\w+[$%]?/) || [''])[0];
            const wanted = WORDS.get(word.toLowerCase());
            if (wanted) assert.ok(token.scopes.some((s) => wanted.test(s)), `'${word}' unscoped (${token.scopes}) at ${where}`);
            const whole = !/\w/.test(before) && !/[\w$%]/.test(token.line[token.end] || ' ');
            if (hasScope(token, 'keyword.') && /\w/.test(token.text))
                assert.ok(whole, `keyword '${token.text}' inside a name at ${where}`);
        }
    }
});

test('indentation: blocks indent, a single-line If does not, block ends dedent', () => {
    const config = JSON.parse(fs.readFileSync(path.join(extension, 'language-configuration.json'), 'utf8'));
    // As VS Code reads a pattern of the language configuration.
    const rule = (name) => new RegExp(config.indentationRules[name].pattern, config.indentationRules[name].flags);
    const increase = rule('increaseIndentPattern');
    const decrease = rule('decreaseIndentPattern');
    // [line, indents the next line, dedents itself]
    const cases = [
        ['Sub Main', true, false],
        ['function Euro$(amount)   \' a comment', true, false],
        ['Declare Function Euro$(amount)', false, false],
        ['    If total > 100 Then', true, false],
        ["    If a$ = \"'\" Then   ' a quote", true, false],
        ['    If n% = 0 Then text$ = "keine" Else text$ = "einige"', false, false],
        ['    If x Then y = 1 \' and Then', false, false],
        ['    If x Then y$ = "Then"', false, false],
        ['    ElseIf total > 50 THEN', true, true],
        ['    Else', true, true],
        ['    For i% = 1 To 10 Step 2', true, false],
        ['    Fortune = 1', false, false],
        ['    While rest > 0', true, false],
        ['    Do', true, false],
        ['    Do While queue% > 0', true, false],
        ['    Loop Until rest$ = ""', false, true],
        ['    Next i%', false, true],
        ['    Next1 = 2', false, false],
        ['    Wend', false, true],
        ['    End If', false, true],
        ['End Sub', false, true],
        ['    Ending = 1', false, false],
    ];
    for (const [line, indents, dedents] of cases) {
        assert.strictEqual(increase.test(line), indents, `increaseIndentPattern on: ${line}`);
        assert.strictEqual(decrease.test(line), dedents, `decreaseIndentPattern on: ${line}`);
    }
});
