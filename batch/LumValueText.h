// The text of a number in a record written out: a Long in decimal, a Double in the
// shortest digits that read back as the same double ("C" locale), without an
// exponent from 0.00001 to 1e16, so that a value leaves a batch as exactly as it came.
#pragma once

#include <string>

class CLumsVarValue;

// Appends the number a value holds; false, with nothing appended, for a value that
// holds no number or no finite one.
bool LumAppendNumber(std::string& strOut, const CLumsVarValue* pValue);
