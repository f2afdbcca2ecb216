// The commands of the command-line host that work on sources and images.
#pragma once

#include "LumCodeGen.h"
#include "LumProgramFile.h"

#include <cstdint>
#include <string>
#include <vector>

// lumbasic compile [--no-lines] [--strict] [--extensions FILE] SOURCE [-o IMAGE]
int LumCompileCommand(const std::vector<std::string>& aArgs);
// lumbasic dis [--extensions FILE] IMAGE|SOURCE
int LumDisCommand(const std::vector<std::string>& aArgs);
// lumbasic fmt [--check] FILE...
int LumFormatCommand(const std::vector<std::string>& aArgs);
// lumbasic lsp: the language server on standard input and output.
int LumLspCommand(const std::vector<std::string>& aArgs);
// lumbasic dap: the debug adapter on standard input and output.
int LumDapCommand(const std::vector<std::string>& aArgs);

// The host statements a source of the command line may use: those of the extension
// table at `strPath`, if one is named, then the console's (LumConsole.h). False after
// the table's errors on standard error.
bool LumLoadExtensions(const std::string& strPath, CLumExtensionTable& table);
// Compiles a source read whole for `run`, `debug` and `dis`, with the host statements
// of `extensions`; its errors and warnings go to standard error, and false says there
// were errors.
bool LumCompileSource(const SLumProgramFile& file, const CLumExtensionTable& extensions,
                      SLumCompileOptions options, std::vector<uint8_t>& aImage);
