#include "LumPythonValues.h"

#include "LumBatchField.h"

#include <lumbasic/LumVariables.h>

namespace py = pybind11;

namespace
{
SLumPyValue ValueFromPython(const SLumBatchField& field, const py::handle& value)
{
    SLumPyValue result;
    result.m_strName = field.m_strName;
    if (value.is_none())
        return result;
    const std::string& strName = field.m_strName;
    bool fInt = py::isinstance<py::int_>(value) && !py::isinstance<py::bool_>(value);
    if (field.m_eType == SLumBatchField::TEXT && py::isinstance<py::str>(value))
    {
        result.m_cType = 's';
        result.m_strText = value.cast<std::string>();
    }
    else if (field.m_eType == SLumBatchField::LONG && fInt)
    {
        long long n = value.cast<long long>();
        if (n < INT32_MIN || n > INT32_MAX)
            throw py::type_error(strName + ": " + std::to_string(n) +
                                 " is outside the range of a Long (%), -2147483648 to 2147483647");
        result.m_cType = 'l';
        result.m_nLong = static_cast<int32_t>(n);
    }
    else if (field.m_eType == SLumBatchField::DOUBLE && (fInt || py::isinstance<py::float_>(value)))
    {
        result.m_cType = 'd';
        result.m_dDouble = value.cast<double>();
    }
    else
    {
        const char* pszNeed = field.m_eType == SLumBatchField::TEXT ? "a str, which text ($) needs"
                              : field.m_eType == SLumBatchField::LONG
                                  ? "an int, which a Long (%) needs"
                                  : "an int or a float, which a Double needs";
        throw py::type_error(strName + ": " + py::repr(value).cast<std::string>() + " is not " + pszNeed);
    }
    return result;
}
} // namespace

const SLumBatchField& CLumPyRecordReader::FieldOf(const py::handle& key)
{
    auto it = m_mapKnown.find(key.ptr());
    if (it != m_mapKnown.end())
        return it->second.m_field;
    if (!py::isinstance<py::str>(key))
        throw py::type_error("a variable's name is a str");
    std::string strError;
    SLumBatchField field = LumMakeField(key.cast<std::string>(), strError);
    if (!strError.empty())
        throw py::value_error(strError);
    SKnown& known = m_mapKnown[key.ptr()];
    known.m_key = py::reinterpret_borrow<py::object>(key);
    known.m_field = std::move(field);
    return known.m_field;
}

LumPyRecord CLumPyRecordReader::Read(const py::handle& dict)
{
    if (!py::isinstance<py::dict>(dict))
        throw py::type_error("a record is a dict from variable names to values");
    LumPyRecord record;
    for (const auto& item : py::reinterpret_borrow<py::dict>(dict))
        record.push_back(ValueFromPython(FieldOf(item.first), item.second));
    return record;
}

void LumFillStore(const LumPyRecord& record, CLumVariables& store)
{
    for (const SLumPyValue& value : record)
    {
        if (value.m_cType == 'e')
            continue;
        CLumsVarValue& target = *store.Obtain(value.m_strName);
        if (value.m_cType == 's')
            target = value.m_strText;
        else if (value.m_cType == 'l')
            target = static_cast<long>(value.m_nLong);
        else
            target = value.m_dDouble;
    }
}

namespace
{
SLumPyValue ValueOf(std::string_view name, const CLumsVarValue* pValue)
{
    SLumPyValue value;
    value.m_strName = std::string(name);
    if (pValue == nullptr)
        return value;
    switch (pValue->GetType())
    {
    case CLumsVarValue::VT_STRING:
        value.m_cType = 's';
        value.m_strText.assign(pValue->GetText(), pValue->GetTextLength());
        break;
    case CLumsVarValue::VT_LONG:
        value.m_cType = 'l';
        value.m_nLong = pValue->LongValue();
        break;
    case CLumsVarValue::VT_DOUBLE:
        value.m_cType = 'd';
        value.m_dDouble = pValue->DoubleValue();
        break;
    default:
        break;
    }
    return value;
}
} // namespace

void LumReadStore(const CLumVariables& store, const std::vector<std::string>& aFields, LumPyRecord& record)
{
    record.clear();
    if (!aFields.empty())
    {
        for (const std::string& strName : aFields)
            record.push_back(ValueOf(strName, store.Lookup(strName)));
        return;
    }
    for (const auto& entry : store.GetMap())
        if (!entry.m_strKey.empty() && entry.m_strKey.c_str()[0] != '@')
            record.push_back(ValueOf(entry.m_strKey, entry.m_value));
}

py::dict LumRecordToDict(const LumPyRecord& record)
{
    py::dict dict;
    for (const SLumPyValue& value : record)
    {
        py::str key(value.m_strName);
        if (value.m_cType == 's')
            // Text the program made need not be UTF-8: its bytes come back as
            // surrogates, as Python's own file names do.
            dict[key] = py::reinterpret_steal<py::str>(PyUnicode_DecodeUTF8(
                value.m_strText.data(), static_cast<Py_ssize_t>(value.m_strText.size()), "surrogateescape"));
        else if (value.m_cType == 'l')
            dict[key] = py::int_(value.m_nLong);
        else if (value.m_cType == 'd')
            dict[key] = py::float_(value.m_dDouble);
        else
            dict[key] = py::none();
    }
    return dict;
}
