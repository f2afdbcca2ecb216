// Writes a record from the store after its run: the variables named, or every global
// when none are, as a CSV line or a JSON object.
//
// CSV of every global needs columns that only the first record written can give, and
// threads write records in any order: then a thread writes each record as pairs of
// name and value (the named form), and the one writing in order settles them into
// columns, those of the first record it settles.
#pragma once

#include "LumBatchField.h"
#include "LumRecordFormat.h"

#include <string>
#include <string_view>
#include <vector>

class CLumVariables;

class CLumRecordWriter
{
public:
    CLumRecordWriter(ELumRecordForm eForm, std::vector<SLumBatchField> aFields)
        : m_eForm(eForm), m_aFields(std::move(aFields))
    {
    }

    // Ends a record in the named form, whose values may hold newlines.
    static constexpr char NAMED_RECORD_END = '\x1d';

    // Whether records come in the named form, for SettleNamed.
    bool WritesNamed() const { return m_eForm == ELumRecordForm::CSV && m_aFields.empty(); }
    // The header line of CSV with named fields; nothing else has one here.
    void AppendHeader(std::string& strOut) const;
    // The record's line, ending in a newline (NAMED_RECORD_END in the named form).
    void AppendRecord(const CLumVariables& store, std::string& strOut) const;

    // The CSV line of a record in the named form, in the columns given, which the
    // first record sets (and puts the header in front of its line); a column the
    // record does not have stays empty, a global the columns do not have is left out.
    static void SettleNamed(std::string_view named, std::vector<std::string>& aColumns, std::string& strOut);

private:
    void AppendCsv(const CLumVariables& store, std::string& strOut) const;
    void AppendJson(const CLumVariables& store, std::string& strOut) const;

    ELumRecordForm m_eForm;
    std::vector<SLumBatchField> m_aFields;
};
