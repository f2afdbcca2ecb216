'use strict';
// The debugger type `lumbasic`: VS Code starts `lumbasic dap`, the debug adapter of the
// command line, for each debug session. F5 without a launch.json debugs the .lbd file
// in the editor.
const vscode = require('vscode');
const { command } = require('./languageServer');

const TYPE = 'lumbasic';

const descriptorFactory = {
    createDebugAdapterDescriptor(session) {
        const folder = session.workspaceFolder ? session.workspaceFolder.uri.fsPath : undefined;
        return new vscode.DebugAdapterExecutable(command(), ['dap'], folder ? { cwd: folder } : {});
    },
};

const configurationProvider = {
    resolveDebugConfiguration(folder, config) {
        if (config.type || config.request || config.name) return config;
        const editor = vscode.window.activeTextEditor;
        if (!editor || editor.document.languageId !== 'lumbasic') return config;
        return { type: TYPE, request: 'launch', name: 'Debug the LumBasic file', program: '${file}', stopOnEntry: true };
    },
};

function activate(context) {
    context.subscriptions.push(
        vscode.debug.registerDebugAdapterDescriptorFactory(TYPE, descriptorFactory),
        vscode.debug.registerDebugConfigurationProvider(TYPE, configurationProvider),
    );
}

module.exports = { activate };
