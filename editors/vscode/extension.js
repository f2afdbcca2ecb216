'use strict';
// The extension's entry point. Each part of it (the language server, the debugger)
// registers what it needs with the context and stops with the extension.
const languageServer = require('./languageServer');
const debugAdapter = require('./debugAdapter');

function activate(context) {
    debugAdapter.activate(context);
    return languageServer.activate(context);
}

function deactivate() {
    return languageServer.deactivate();
}

module.exports = { activate, deactivate };
