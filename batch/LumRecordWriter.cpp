#include "LumRecordWriter.h"

#include "LumCsv.h"
#include "LumJsonRecord.h"
#include "LumValueText.h"

#include <lumbasic/LumVariables.h>

namespace
{
// Parts a name from its value in the named form, and a pair from the next.
const char NAME_END = '\x1e';
const char PAIR_END = '\x1f';

bool IsGlobal(std::string_view key)
{
    return !key.empty() && key[0] != '@';
}

void AppendCsvValue(std::string& strOut, const CLumsVarValue* pValue)
{
    if (pValue != nullptr && pValue->IsString())
        LumAppendCsvField(strOut, std::string_view(pValue->GetText(), pValue->GetTextLength()));
    else
        LumAppendNumber(strOut, pValue);
}
} // namespace

void CLumRecordWriter::AppendHeader(std::string& strOut) const
{
    if (m_eForm != ELumRecordForm::CSV || m_aFields.empty())
        return;
    for (size_t i = 0; i < m_aFields.size(); ++i)
    {
        if (i > 0)
            strOut += ',';
        strOut += m_aFields[i].m_strName;
    }
    strOut += '\n';
}

void CLumRecordWriter::AppendRecord(const CLumVariables& store, std::string& strOut) const
{
    if (m_eForm == ELumRecordForm::CSV)
        AppendCsv(store, strOut);
    else
        AppendJson(store, strOut);
    strOut += WritesNamed() ? NAMED_RECORD_END : '\n';
}

void CLumRecordWriter::AppendCsv(const CLumVariables& store, std::string& strOut) const
{
    if (m_aFields.empty())
    {
        for (const auto& entry : store.GetMap())
            if (IsGlobal(entry.m_strKey))
            {
                strOut.append(entry.m_strKey.data(), entry.m_strKey.size());
                strOut += NAME_END;
                AppendCsvValue(strOut, entry.m_value);
                strOut += PAIR_END;
            }
        return;
    }
    for (size_t i = 0; i < m_aFields.size(); ++i)
    {
        if (i > 0)
            strOut += ',';
        AppendCsvValue(strOut, store.Lookup(m_aFields[i].m_strName));
    }
}

void CLumRecordWriter::AppendJson(const CLumVariables& store, std::string& strOut) const
{
    strOut += '{';
    bool fFirst = true;
    auto member = [&](std::string_view name, const CLumsVarValue* pValue) {
        if (!fFirst)
            strOut += ',';
        fFirst = false;
        LumAppendJsonString(strOut, name);
        strOut += ':';
        LumAppendJsonValue(strOut, pValue);
    };
    if (m_aFields.empty())
    {
        for (const auto& entry : store.GetMap())
            if (IsGlobal(entry.m_strKey))
                member(entry.m_strKey, entry.m_value);
    }
    else
        for (const SLumBatchField& field : m_aFields)
            member(field.m_strName, store.Lookup(field.m_strName));
    strOut += '}';
}

void CLumRecordWriter::SettleNamed(std::string_view named, std::vector<std::string>& aColumns,
                                   std::string& strOut)
{
    std::vector<std::pair<std::string_view, std::string_view>> aPairs;
    for (size_t nAt = 0; nAt < named.size();)
    {
        size_t nName = named.find(NAME_END, nAt);
        size_t nEnd = named.find(PAIR_END, nName);
        aPairs.emplace_back(named.substr(nAt, nName - nAt), named.substr(nName + 1, nEnd - nName - 1));
        nAt = nEnd + 1;
    }
    if (aColumns.empty())
    {
        for (size_t i = 0; i < aPairs.size(); ++i)
        {
            aColumns.emplace_back(aPairs[i].first);
            strOut += i > 0 ? "," : "";
            strOut += aColumns.back();
        }
        strOut += '\n';
    }
    for (size_t i = 0; i < aColumns.size(); ++i)
    {
        if (i > 0)
            strOut += ',';
        // In the same order as the first record's, mostly: look there first.
        if (i < aPairs.size() && aPairs[i].first == aColumns[i])
            strOut += aPairs[i].second;
        else
            for (const auto& pair : aPairs)
                if (pair.first == aColumns[i])
                    strOut += pair.second;
    }
    strOut += '\n';
}
