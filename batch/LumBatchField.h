// A field of a record: a variable's name, whose last character gives its type as
// everywhere in the language ($ text, % Long, else Double), and the checked reading
// of a field's text into a value of that type.
#pragma once

#include <string>
#include <string_view>
#include <vector>

class CLumsVarValue;

struct SLumBatchField
{
    enum EType
    {
        TEXT,
        LONG,
        DOUBLE,
    };
    std::string m_strName;
    EType m_eType = DOUBLE;
};

// The field of a name; an empty `strError` when the name is a variable's name (a
// letter, then letters, digits and '_', a type character at most at its end, no word
// of the language), else what is wrong with it.
SLumBatchField LumMakeField(std::string_view name, std::string& strError);

// "a,b$,c%": the fields named, in order; false with the reason for an empty list, a
// bad name or a name given twice.
bool LumParseFieldList(std::string_view list, std::vector<SLumBatchField>& aFields, std::string& strError);

// Reads a field's text, as a CSV file holds it, into `value`: a Long a whole number
// of its range, a Double a number with a point ("C" locale), text as it is. False with
// the reason when the text does not fit the type.
bool LumReadFieldText(const SLumBatchField& field, std::string_view text, CLumsVarValue& value,
                      std::string& strError);
