// The Python module `lumbasic`: compile a program, run it over a dict, run it over
// many dicts on the library's threads. Failures are lumbasic.Error, whose `report`
// is the short report of the command line.
#include "LumBatchWorker.h"
#include "LumPythonBatch.h"

#include <lumbasic/LumCompile.h>

#include <pybind11/stl.h>

#include <thread>

namespace py = pybind11;

namespace
{
// Lives as long as the process: the interpreter may be gone when statics are freed.
py::handle s_errorType;

// A lumbasic.Error carrying the report, and the record's index in a batch.
py::object MakeError(const std::string& strReport, py::object record = py::none())
{
    py::object error = s_errorType(strReport);
    error.attr("report") = strReport;
    error.attr("record") = record;
    return error;
}

[[noreturn]] void Raise(const std::string& strReport)
{
    py::object error = MakeError(strReport);
    PyErr_SetObject(s_errorType.ptr(), error.ptr());
    throw py::error_already_set();
}

// The limits of a run as the keyword arguments give them.
struct SLimits
{
    unsigned long long m_nMaxSteps = 0;
    unsigned long long m_nMaxMemory = 0;
    bool m_fPlain = false;
    std::string m_strSandbox;
};

// The program: a source compiled here, or an image as it is.
SLumBatchProgram MakeProgram(const py::object& program, const std::string& strName, const SLimits& limits)
{
    SLumBatchProgram result;
    result.m_strName = strName;
    if (py::isinstance<py::bytes>(program))
    {
        std::string strImage = program.cast<std::string>();
        result.m_aImage.assign(strImage.begin(), strImage.end());
    }
    else if (py::isinstance<py::str>(program))
    {
        SLumCompileSettings settings;
        settings.m_strSourceName = strName;
        try
        {
            result.m_aImage = LumCompile(program.cast<std::string>(), settings);
        }
        catch (const CLumsException& e)
        {
            Raise(LumFailureReport(e));
        }
    }
    else
        throw py::type_error("a program is its source (str) or its image (bytes)");
    result.m_fnSetUp = [limits](CLumBasic& basic) {
        basic.SetStatementLimit(static_cast<unsigned long>(limits.m_nMaxSteps));
        basic.SetMemoryLimit(static_cast<size_t>(limits.m_nMaxMemory << 20));
        basic.SetFastPaths(!limits.m_fPlain);
        if (!limits.m_strSandbox.empty())
            basic.SetFileRoot(limits.m_strSandbox.c_str());
    };
    return result;
}

py::bytes Compile(const std::string& strSource, const std::string& strName)
{
    SLumBatchProgram program = MakeProgram(py::str(strSource), strName, SLimits());
    return py::bytes(reinterpret_cast<const char*>(program.m_aImage.data()), program.m_aImage.size());
}

py::dict Run(const py::object& program, const py::object& inputs, const std::vector<std::string>& aFields,
             const std::string& strName, const SLimits& limits)
{
    SLumBatchProgram cProgram = MakeProgram(program, strName, limits);
    LumPyRecord record = inputs.is_none() ? LumPyRecord() : CLumPyRecordReader().Read(inputs);
    std::string strReport;
    bool fOk = false;
    {
        py::gil_scoped_release release;
        try
        {
            CLumBatchWorker worker(cProgram);
            LumFillStore(record, worker.NewStore());
            fOk = worker.Run(strReport);
            if (fOk)
                LumReadStore(worker.GetStore(), aFields, record);
        }
        catch (const CLumsException& e)
        {
            strReport = LumFailureReport(e, strName);
        }
    }
    if (!fOk)
        Raise(strReport);
    return LumRecordToDict(record);
}

py::list Batch(const py::object& program, const py::iterable& records, int nJobs,
               const std::vector<std::string>& aFields, const std::string& strName, const SLimits& limits)
{
    SLumBatchProgram cProgram = MakeProgram(program, strName, limits);
    std::vector<LumPyRecord> aRecords;
    CLumPyRecordReader reader;
    for (const py::handle& record : records)
        aRecords.push_back(reader.Read(record));
    if (nJobs <= 0)
        nJobs = static_cast<int>(std::max(1u, std::thread::hardware_concurrency()));
    std::vector<SLumPyOutcome> aOutcomes;
    std::string strError;
    {
        py::gil_scoped_release release;
        try
        {
            aOutcomes = LumRunPyBatch(cProgram, aRecords, aFields, nJobs);
        }
        catch (const CLumsException& e)
        {
            strError = e.GetTrail().empty() ? "" : e.GetTrail()[0];
        }
    }
    if (!strError.empty())
        Raise(strError);
    py::list result;
    for (size_t i = 0; i < aOutcomes.size(); ++i)
        result.append(aOutcomes[i].m_fFailed ? MakeError(aOutcomes[i].m_strReport, py::int_(i))
                                             : py::object(LumRecordToDict(aOutcomes[i].m_result)));
    return result;
}

SLimits Limits(unsigned long long nMaxSteps, unsigned long long nMaxMemory, bool fPlain,
               const std::string& strSandbox)
{
    return SLimits{nMaxSteps, nMaxMemory, fPlain, strSandbox};
}
} // namespace

PYBIND11_MODULE(lumbasic, m)
{
    m.doc() = "LumBasic programs from Python: compile, run over a dict, run over many dicts on threads.";
    s_errorType = PyErr_NewExceptionWithDoc(
        "lumbasic.Error",
        "A failed run or compile; `report` holds the short report, `record` a batch's index.",
        PyExc_Exception, nullptr);
    m.attr("Error") = s_errorType;

    m.def("compile", &Compile, "The image of a source, as bytes.", py::arg("source"),
          py::arg("name") = "<source>");
    m.def(
        "run",
        [](const py::object& program, const py::object& inputs, std::vector<std::string> fields,
           std::string name, unsigned long long max_steps, unsigned long long max_memory, bool plain,
           std::string sandbox) {
            return Run(program, inputs, fields, name, Limits(max_steps, max_memory, plain, sandbox));
        },
        "Runs the program (source or image) over a new store filled from `inputs`; gives the globals, or "
        "the `fields` named.",
        py::arg("program"), py::arg("inputs") = py::none(), py::kw_only(),
        py::arg("fields") = std::vector<std::string>(), py::arg("name") = "<source>",
        py::arg("max_steps") = 0, py::arg("max_memory") = 0, py::arg("plain") = false,
        py::arg("sandbox") = "");
    m.def(
        "batch",
        [](const py::object& program, const py::iterable& records, int jobs, std::vector<std::string> fields,
           std::string name, unsigned long long max_steps, unsigned long long max_memory, bool plain,
           std::string sandbox) {
            return Batch(program, records, jobs, fields, name, Limits(max_steps, max_memory, plain, sandbox));
        },
        "Runs the program over each record on `jobs` threads (0: one a core) with the GIL released; gives a "
        "list in the records' order, a failed record's entry a lumbasic.Error.",
        py::arg("program"), py::arg("records"), py::arg("jobs") = 0, py::kw_only(),
        py::arg("fields") = std::vector<std::string>(), py::arg("name") = "<source>",
        py::arg("max_steps") = 0, py::arg("max_memory") = 0, py::arg("plain") = false,
        py::arg("sandbox") = "");
}
