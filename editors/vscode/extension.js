// Starts `ipav lsp` for the configurations of a folder.
'use strict';

const vscode = require('vscode');
const {LanguageClient} = require('vscode-languageclient/node');

let client;

function activate() {
  const settings = vscode.workspace.getConfiguration('ipav');
  const files = {scheme: 'file', pattern: settings.get('files')};
  const server = {command: settings.get('command'), args: ['lsp']};
  client = new LanguageClient('ipav', 'ipav', server, {
    documentSelector: [{...files, language: 'xml'}, {...files, language: 'json'}],
    initializationOptions: {running: settings.get('running')},
    synchronize: {configurationSection: 'ipav'},
  });
  return client.start();
}

function deactivate() {
  return client && client.stop();
}

module.exports = {activate, deactivate};
