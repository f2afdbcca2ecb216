// The two forms records come and go in: CSV with a header line, and JSON Lines (an
// object a line), told by a file's name.
#pragma once

#include <string_view>

enum class ELumRecordForm
{
    CSV,
    JSON_LINES,
};

// JSON Lines for a name ending in .jsonl, .ndjson or .json, CSV for any other.
ELumRecordForm LumRecordFormOf(std::string_view path);
