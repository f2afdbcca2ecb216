'use strict';
// Runs `lumbasic lsp` over standard input and output for the .lbd files of the window,
// and starts it anew when one of the settings it was started with changes.
const fs = require('fs');
const path = require('path');
const vscode = require('vscode');
const { LanguageClient } = require('vscode-languageclient/node');

const SECTION = 'lumbasic';
const RESTART_SETTINGS = ['path', 'strict', 'extensionTable'];

let client;
// One channel for the server's log and trace across restarts.
let outputChannel;
// Settings may change several times in a row: each restart waits for the one before.
let restarting = Promise.resolve();

function workspaceRoot() {
    const folders = vscode.workspace.workspaceFolders;
    return folders && folders.length > 0 ? folders[0].uri.fsPath : undefined;
}

// The server runs in the workspace's first folder, as `lumbasic run` does from the top
// of a tree; a relative path in a setting means a file there too. A bare command name
// stays as it is, so that it is looked up on PATH.
function resolvePath(file) {
    const root = workspaceRoot();
    if (!file || !root || path.isAbsolute(file) || !/[\\/]/.test(file)) return file;
    return path.join(root, file);
}

// What the server reads, both as initialization options and for a
// workspace/configuration request of the section.
function serverSettings() {
    const config = vscode.workspace.getConfiguration(SECTION);
    return {
        strict: config.get('strict', false),
        extensionTable: resolvePath(config.get('extensionTable', '')),
    };
}

// Whether the command names a program that can be started: a path as it is, a bare
// name on PATH (with the suffixes of PATHEXT on Windows).
function findsProgram(command) {
    const suffixes = process.platform === 'win32' ? ['', ...(process.env.PATHEXT || '.EXE').split(';')] : [''];
    const dirs = /[\\/]/.test(command) ? [''] : (process.env.PATH || '').split(path.delimiter);
    return dirs.some((dir) =>
        suffixes.some((suffix) => {
            try {
                fs.accessSync(path.join(dir, command + suffix), fs.constants.X_OK);
                return true;
            } catch {
                return false;
            }
        }),
    );
}

function answerConfiguration(params, result) {
    return params.items.map((item, i) => (item.section === SECTION ? { ...result[i], ...serverSettings() } : result[i]));
}

function createClient(command) {
    const serverOptions = { command, args: ['lsp'], options: { cwd: workspaceRoot() } };
    const clientOptions = {
        documentSelector: [{ language: 'lumbasic' }],
        initializationOptions: serverSettings(),
        outputChannel,
        middleware: {
            workspace: {
                configuration: async (params, token, next) => answerConfiguration(params, await next(params, token)),
            },
        },
    };
    return new LanguageClient(SECTION, 'LumBasic', serverOptions, clientOptions);
}

// The lumbasic program of the setting lumbasic.path, for the server and the debugger.
function lumbasicCommand() {
    return resolvePath(vscode.workspace.getConfiguration(SECTION).get('path') || 'lumbasic');
}

async function start() {
    const command = lumbasicCommand();
    if (!findsProgram(command)) {
        // The user can mend this one: say which setting to change. Not awaited, so that
        // a change of the setting restarts at once, whether the message is closed or not.
        vscode.window
            .showErrorMessage(
                `LumBasic: no program "${command}" to start the language server with. ` +
                    'Set lumbasic.path to the lumbasic program.',
                'Open Settings',
            )
            .then((choice) => {
                if (choice) vscode.commands.executeCommand('workbench.action.openSettings', 'lumbasic.path');
            });
        return;
    }
    client = createClient(command);
    // A server that fails in starting is reported by the client library, in the output
    // channel and a notification; the extension stays active for a restart.
    await client.start().catch(() => {});
}

function restart() {
    restarting = restarting.then(deactivate).then(start);
    return restarting;
}

function activate(context) {
    outputChannel = vscode.window.createOutputChannel('LumBasic');
    context.subscriptions.push(
        outputChannel,
        vscode.commands.registerCommand('lumbasic.restartServer', restart),
        vscode.workspace.onDidChangeConfiguration((event) => {
            if (RESTART_SETTINGS.some((name) => event.affectsConfiguration(`${SECTION}.${name}`))) restart();
        }),
    );
    restarting = start();
    return restarting;
}

async function deactivate() {
    const running = client;
    client = undefined;
    if (running && running.isRunning()) await running.stop();
}

module.exports = { activate, deactivate, command: lumbasicCommand };
