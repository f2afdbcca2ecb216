#include "LumRecordReader.h"

#include "LumCsv.h"
#include "LumJsonRecord.h"

#include <lumbasic/LumVariables.h>

bool CLumRecordReader::ReadHeader(std::string_view line, std::string& strError)
{
    SScratch scratch;
    if (!LumSplitCsvLine(line, scratch.m_aFields, scratch.m_strText, strError))
        return false;
    m_aFields.clear();
    for (std::string_view name : scratch.m_aFields)
    {
        SLumBatchField field = LumMakeField(name, strError);
        if (!strError.empty())
            return false;
        for (const SLumBatchField& other : m_aFields)
            if (other.m_strName == field.m_strName)
            {
                strError = "the column '" + field.m_strName + "' is named twice";
                return false;
            }
        m_aFields.push_back(std::move(field));
    }
    return true;
}

CLumRecordReader::EResult CLumRecordReader::ReadRecord(std::string_view line, CLumVariables& store,
                                                       SScratch& scratch, std::string& strError) const
{
    if (m_eForm == ELumRecordForm::JSON_LINES)
        return LumReadJsonRecord(line, store, strError);
    return ReadCsv(line, store, scratch, strError);
}

CLumRecordReader::EResult CLumRecordReader::ReadCsv(std::string_view line, CLumVariables& store,
                                                    SScratch& scratch, std::string& strError) const
{
    if (!LumSplitCsvLine(line, scratch.m_aFields, scratch.m_strText, strError))
        return MALFORMED;
    if (scratch.m_aFields.size() != m_aFields.size())
    {
        strError = "the record has " + std::to_string(scratch.m_aFields.size()) + " fields, the header " +
                   std::to_string(m_aFields.size());
        return FAILED;
    }
    for (size_t i = 0; i < m_aFields.size(); ++i)
        if (!LumReadFieldText(m_aFields[i], scratch.m_aFields[i], *store.Obtain(m_aFields[i].m_strName),
                              strError))
            return FAILED;
    return READ;
}
