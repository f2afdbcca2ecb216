// The values of a record between Python and the store: read from a dict while the
// GIL is held, put into a store and read back on any thread without it, and made
// into a dict again with the GIL.
#pragma once

#include "LumBatchField.h"

#include <pybind11/pybind11.h>

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

class CLumVariables;

struct SLumPyValue
{
    std::string m_strName;
    // 's' text, 'l' Long, 'd' Double, 'e' empty.
    char m_cType = 'e';
    int32_t m_nLong = 0;
    double m_dDouble = 0;
    std::string m_strText;
};
using LumPyRecord = std::vector<SLumPyValue>;

// Reads the dicts of records: their items, checked, a key that is no variable's name
// a ValueError, a value that does not fit the name's type ($ str, % int of the Long's
// range, else int or float) a TypeError; None leaves the variable out. The records of
// a batch share their key objects, whose names are checked once.
class CLumPyRecordReader
{
public:
    LumPyRecord Read(const pybind11::handle& dict);

private:
    struct SKnown
    {
        pybind11::object m_key; // held, so that its address names no other key
        SLumBatchField m_field;
    };
    const SLumBatchField& FieldOf(const pybind11::handle& key);
    std::unordered_map<PyObject*, SKnown> m_mapKnown;
};
// Into the empty store.
void LumFillStore(const LumPyRecord& record, CLumVariables& store);
// The store's globals, or the variables named, in the store's order.
void LumReadStore(const CLumVariables& store, const std::vector<std::string>& aFields, LumPyRecord& record);
pybind11::dict LumRecordToDict(const LumPyRecord& record);
