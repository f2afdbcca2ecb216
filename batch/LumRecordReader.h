// Reads one record's line into a store: the fields of a CSV line by the header's
// names, or the members of a JSON object, each checked against its name's type.
// Const after the header, so that the threads of a batch read records at once.
#pragma once

#include "LumBatchField.h"
#include "LumRecordFormat.h"

#include <string>
#include <string_view>
#include <vector>

class CLumVariables;

class CLumRecordReader
{
public:
    enum EResult
    {
        READ,
        // The record does not fit: that record fails, the others go on.
        FAILED,
        // The line is no record of the form at all: the input is bad.
        MALFORMED,
    };

    explicit CLumRecordReader(ELumRecordForm eForm) : m_eForm(eForm) {}

    ELumRecordForm GetForm() const { return m_eForm; }
    // Whether the form starts with a header line (CSV).
    bool NeedsHeader() const { return m_eForm == ELumRecordForm::CSV; }
    // The CSV header: the fields' names. False with the reason for a bad line.
    bool ReadHeader(std::string_view line, std::string& strError);
    const std::vector<SLumBatchField>& GetFields() const { return m_aFields; }

    // The room a thread reads its records with.
    struct SScratch
    {
        std::vector<std::string_view> m_aFields;
        std::string m_strText;
    };
    // Fills the empty store from the line; `strError` says what does not fit.
    EResult ReadRecord(std::string_view line, CLumVariables& store, SScratch& scratch,
                       std::string& strError) const;

private:
    EResult ReadCsv(std::string_view line, CLumVariables& store, SScratch& scratch,
                    std::string& strError) const;

    ELumRecordForm m_eForm;
    std::vector<SLumBatchField> m_aFields;
};
