#include "LumBatchField.h"

#include <lumbasic/LumCompile.h>
#include <lumbasic/LumsVarValue.h>

#include <charconv>
#include <cmath>
#include <cstdint>

namespace
{
bool IsLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsNameChar(char c)
{
    return IsLetter(c) || (c >= '0' && c <= '9') || c == '_';
}

std::string Quoted(std::string_view text)
{
    return "'" + std::string(text) + "'";
}
} // namespace

SLumBatchField LumMakeField(std::string_view name, std::string& strError)
{
    SLumBatchField field;
    field.m_strName = std::string(name);
    strError.clear();
    char cLast = name.empty() ? '\0' : name.back();
    field.m_eType = cLast == '$'   ? SLumBatchField::TEXT
                    : cLast == '%' ? SLumBatchField::LONG
                                   : SLumBatchField::DOUBLE;
    std::string_view stem = field.m_eType == SLumBatchField::DOUBLE ? name : name.substr(0, name.size() - 1);
    bool fName = !stem.empty() && IsLetter(stem[0]) && stem.size() <= 255;
    for (char c : stem)
        fName = fName && IsNameChar(c);
    if (!fName)
        strError = Quoted(name) + " is no variable name: a name starts with a letter, goes on with letters, "
                                  "digits and '_' and may end in $ (text) or % (Long)";
    else if (LumIsLanguageWord(name))
        strError = Quoted(name) + " is a word of the language and cannot name a variable";
    return field;
}

bool LumParseFieldList(std::string_view list, std::vector<SLumBatchField>& aFields, std::string& strError)
{
    aFields.clear();
    while (true)
    {
        size_t nComma = list.find(',');
        SLumBatchField field = LumMakeField(list.substr(0, nComma), strError);
        if (!strError.empty())
            return false;
        for (const SLumBatchField& other : aFields)
            if (other.m_strName == field.m_strName)
            {
                strError = Quoted(field.m_strName) + " is named twice";
                return false;
            }
        aFields.push_back(std::move(field));
        if (nComma == std::string_view::npos)
            return true;
        list.remove_prefix(nComma + 1);
    }
}

bool LumReadFieldText(const SLumBatchField& field, std::string_view text, CLumsVarValue& value,
                      std::string& strError)
{
    const char* pEnd = text.data() + text.size();
    if (field.m_eType == SLumBatchField::TEXT)
    {
        value.SetString(text.data(), text.size());
        return true;
    }
    if (field.m_eType == SLumBatchField::LONG)
    {
        int64_t n = 0;
        auto result = std::from_chars(text.data(), pEnd, n);
        if (result.ptr == pEnd && result.ec == std::errc() && n >= INT32_MIN && n <= INT32_MAX &&
            !text.empty())
        {
            value = static_cast<long>(n);
            return true;
        }
        strError = field.m_strName + ": " + Quoted(text) +
                   " is not a whole number from -2147483648 to 2147483647, which a Long (%) needs";
        return false;
    }
    double d = 0;
    auto result = std::from_chars(text.data(), pEnd, d);
    if (result.ptr == pEnd && result.ec == std::errc() && !text.empty() && std::isfinite(d))
    {
        value = d;
        return true;
    }
    strError = field.m_strName + ": " + Quoted(text) +
               " is not a number; a Double is written with a point, as in 1234.5";
    return false;
}
