#include "LumJsonRecord.h"

#include "LumBatchField.h"
#include "LumValueText.h"

#include <lumbasic/LumVariables.h>

#include <nlohmann/json.hpp>

#include <cstdint>

namespace
{
// The member's value into the variable, by the type of its name.
bool ReadMember(const SLumBatchField& field, const nlohmann::json& value, CLumVariables& store,
                std::string& strError)
{
    if (value.is_null())
        return true;
    bool fFits = field.m_eType == SLumBatchField::TEXT     ? value.is_string()
                 : field.m_eType == SLumBatchField::DOUBLE ? value.is_number()
                                                           : value.is_number_integer();
    if (fFits && field.m_eType == SLumBatchField::LONG)
    {
        int64_t n = value.is_number_unsigned() && value.get<uint64_t>() > INT32_MAX ? INT64_MAX
                                                                                    : value.get<int64_t>();
        fFits = n >= INT32_MIN && n <= INT32_MAX;
    }
    if (!fFits)
    {
        const char* pszNeed = field.m_eType == SLumBatchField::TEXT ? "a string, which text ($) needs"
                              : field.m_eType == SLumBatchField::LONG
                                  ? "a whole number from -2147483648 to 2147483647, which a Long (%) needs"
                                  : "a number, which a Double needs";
        strError = field.m_strName + ": " + value.dump() + " is not " + pszNeed;
        return false;
    }
    CLumsVarValue& target = *store.Obtain(field.m_strName);
    if (field.m_eType == SLumBatchField::TEXT)
        target = value.get_ref<const std::string&>();
    else if (field.m_eType == SLumBatchField::LONG)
        target = static_cast<long>(value.get<int64_t>());
    else
        target = value.get<double>();
    return true;
}
} // namespace

CLumRecordReader::EResult LumReadJsonRecord(std::string_view line, CLumVariables& store,
                                            std::string& strError)
{
    nlohmann::json object = nlohmann::json::parse(line, nullptr, false);
    if (object.is_discarded() || !object.is_object())
    {
        strError = object.is_discarded() ? "no JSON" : "no JSON object";
        return CLumRecordReader::MALFORMED;
    }
    CLumRecordReader::EResult eResult = CLumRecordReader::READ;
    for (const auto& member : object.items())
    {
        std::string strNameError;
        SLumBatchField field = LumMakeField(member.key(), strNameError);
        if (!strNameError.empty())
        {
            strError = strNameError;
            return CLumRecordReader::MALFORMED;
        }
        if (eResult == CLumRecordReader::READ && !ReadMember(field, member.value(), store, strError))
            eResult = CLumRecordReader::FAILED;
    }
    return eResult;
}

void LumAppendJsonString(std::string& strOut, std::string_view text)
{
    strOut += '"';
    for (unsigned char c : text)
    {
        if (c == '"' || c == '\\')
        {
            strOut += '\\';
            strOut += static_cast<char>(c);
        }
        else if (c < 0x20)
        {
            char escape[8];
            snprintf(escape, sizeof escape, "\\u%04x", c);
            strOut += escape;
        }
        else
            strOut += static_cast<char>(c);
    }
    strOut += '"';
}

void LumAppendJsonValue(std::string& strOut, const CLumsVarValue* pValue)
{
    if (pValue != nullptr && pValue->IsString())
        LumAppendJsonString(strOut, std::string_view(pValue->GetText(), pValue->GetTextLength()));
    else if (!LumAppendNumber(strOut, pValue))
        strOut += "null";
}
