// The commands of the command-line host that work on sources and images.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

// lumbasic compile [--no-lines] [--extensions FILE] SOURCE [-o IMAGE]
int LumCompileCommand(const std::vector<std::string>& aArgs);
// lumbasic dis [--extensions FILE] IMAGE
int LumDisCommand(const std::vector<std::string>& aArgs);

// A path that names a source (".lbd") rather than an image.
bool LumIsSourcePath(const std::string& strPath);
// Compiles a source for `run`, with the host statements of the extension table
// `strExtensions` if it is not empty; false after the errors went to standard error.
bool LumCompileSource(const std::string& strPath, const std::string& strExtensions,
                      std::vector<uint8_t>& aImage);
