// A record of JSON Lines: one object, its members the variables of the record.
#pragma once

#include "LumRecordReader.h"

#include <string>
#include <string_view>

class CLumVariables;
class CLumsVarValue;

// Fills the store from the object on the line: a member named like a variable, its
// value of the name's type (a string for $, a whole number for %, a number else);
// null leaves the variable out. MALFORMED for a line that is no JSON object or a
// member's name that is no variable's.
CLumRecordReader::EResult LumReadJsonRecord(std::string_view line, CLumVariables& store,
                                            std::string& strError);

// Appends a value as JSON: a number, a string, or null for one that is empty or no
// finite number.
void LumAppendJsonValue(std::string& strOut, const CLumsVarValue* pValue);
// Appends text as a JSON string, quotes included.
void LumAppendJsonString(std::string& strOut, std::string_view text);
