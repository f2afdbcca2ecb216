'use strict';
// The extension's entry point. Each part of it (the language server now, a debugger
// later) registers what it needs with the context and stops with the extension.
const languageServer = require('./languageServer');

function activate(context) {
    return languageServer.activate(context);
}

function deactivate() {
    return languageServer.deactivate();
}

module.exports = { activate, deactivate };
