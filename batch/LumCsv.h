// The CSV of records: a line of fields parted by commas, a field in double quotes
// where it holds a comma or a quote ("" for a quote in it). A record is one line.
#pragma once

#include <string>
#include <string_view>
#include <vector>

// The fields of a line. A quoted field's text goes to `strScratch`, which the views
// may point into until the next call. False with the reason for a quote that does not
// end or text behind a closing quote.
bool LumSplitCsvLine(std::string_view line, std::vector<std::string_view>& aFields, std::string& strScratch,
                     std::string& strError);

// Appends a field, quoted where it needs to be.
void LumAppendCsvField(std::string& strOut, std::string_view text);
