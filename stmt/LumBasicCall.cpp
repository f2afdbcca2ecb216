// Statement handlers of the call family: Declare, Call, CallEx, procedure heads,
// End and Import. A call is a jump with a return record, not a recursion of the
// interpreter.
#include <lumbasic/LumBasic.h>
#include <lumbasic/LumBasicDebugger.h>

#include "core/LumFilePolicy.h"
#include "core/LumFrame.h"
#include "core/LumScopedKey.h"
#include "expr/LumExpression.h"

#include <cstring>
#include <functional>
#include <list>
#include <memory>
#include <vector>

namespace
{
const char* const FILE_LABEL = "LUMBASICCALL";

using ValuePtr = std::unique_ptr<CLumsVarValue>;
} // namespace

int CLumBasic::Declare()
{
    return LumFrame(FILE_LABEL, "CLumBasic::Declare()", [&] {
        std::unique_ptr<CallInfo> pInfo(new CallInfo());
        pInfo->m_wInfo1 = m_pQuelle->GetToken();
        pInfo->m_wInfo2 = m_pQuelle->GetToken();
        long nOffset = m_pQuelle->GetDWord();
        pInfo->m_pCode = reinterpret_cast<unsigned char*>(
            reinterpret_cast<uintptr_t>(m_pQuelle->GetBasePointer()) + static_cast<uintptr_t>(nOffset));
        pInfo->m_pImage = m_pQuelle->GetImage();
        pInfo->m_fMainModule = m_fMainModule;
        std::string strName = m_pQuelle->GetCountedText();
        pInfo->m_strDeclaration = m_pQuelle->GetCountedText();
        pInfo->m_strSource = m_strSource;
        pInfo->m_nLine = m_nLine;
        m_pFunctions->SetAt(strName, pInfo.release());
        return 0;
    });
}

namespace
{
// The evaluated arguments of one call until they are pushed; most calls have few,
// so they stay off the heap.
class ArgumentList
{
public:
    ArgumentList() = default;
    ArgumentList(const ArgumentList&) = delete;
    ArgumentList& operator=(const ArgumentList&) = delete;
    ~ArgumentList()
    {
        for (size_t i = 0; i < m_nCount; ++i)
            delete At(i);
    }
    void Add(ValuePtr pValue)
    {
        if (m_nCount < INLINE)
            m_aInline[m_nCount] = pValue.get();
        else
            m_aMore.push_back(pValue.get());
        pValue.release();
        ++m_nCount;
    }
    // Hands the values over, last first, so that the first ends on top.
    void PushTo(CLumParamStack& stack)
    {
        while (m_nCount > 0)
        {
            stack.Push(At(m_nCount - 1));
            if (m_nCount > INLINE)
                m_aMore.pop_back();
            --m_nCount;
        }
    }

private:
    static const size_t INLINE = 8;
    CLumsVarValue* At(size_t i) const { return i < INLINE ? m_aInline[i] : m_aMore[i - INLINE]; }

    CLumsVarValue* m_aInline[INLINE];
    std::vector<CLumsVarValue*> m_aMore;
    size_t m_nCount = 0;
};
} // namespace

void CLumBasic::PushParams()
{
    LumFrame(FILE_LABEL, "CLumBasic::PushParams()", [&] {
        // All arguments are evaluated from left to right before any is pushed.
        ArgumentList cArguments;
        while (m_pQuelle->GetToken() == LBT_EXPRESSION)
        {
            CLumExpression cArgument(m_pQuelle, m_pVariables, this);
            cArguments.Add(ValuePtr(cArgument.Auswerten()));
        }
        m_pQuelle->Seek(-2, 1);
        cArguments.PushTo(m_cParamStack);
    });
}

namespace
{
// Keeps the table's records alive while a call evaluates its arguments.
struct PinnedTable
{
    CLumFunctions& m_table;
    explicit PinnedTable(CLumFunctions& table) : m_table(table) { m_table.Pin(); }
    ~PinnedTable() { m_table.Unpin(); }
};

// The part that Call and CallEx share once the name is known.
struct CallTarget
{
    static CallInfo* Find(CLumFunctions* pFunctions, const char* pszName)
    {
        CallInfo* pInfo = pFunctions->Lookup(pszName);
        if (pInfo == nullptr)
            LumRaise(LUM_MSG_NOT_DECLARED, pszName);
        if (pInfo->m_pImage && pInfo->m_pImage->m_pBegin == nullptr)
            LumRaise(LUM_MSG_IMAGE_GONE, pszName);
        return pInfo;
    }
};
} // namespace

int CLumBasic::Call()
{
    return LumFrame(FILE_LABEL, "CLumBasic::Call()", [&] {
        const char* pszName = m_pQuelle->GetCountedText();
        PinnedTable pin(*m_pFunctions);
        CallInfo* pInfo = CallTarget::Find(m_pFunctions, pszName);
        PushParams();
        EnterProcedure(pInfo);
        return 0;
    });
}

int CLumBasic::CallEx()
{
    return LumFrame(FILE_LABEL, "CLumBasic::CallEx()", [&] {
        ValuePtr pName(GetArg(AT_STRING, 1));
        PinnedTable pin(*m_pFunctions);
        CallInfo* pInfo = CallTarget::Find(m_pFunctions, pName->GetText());
        PushParams();
        EnterProcedure(pInfo);
        return 0;
    });
}

void CLumBasic::EnterProcedure(const CallInfo* pInfo, int nSourceChanged)
{
    if (m_cCallStack.GetCount() >= MAX_CALL_DEPTH)
        LumRaise(LUM_MSG_CALLS_TOO_DEEP, MAX_CALL_DEPTH);
    std::unique_ptr<CallData> pCall(new CallData());
    pCall->m_pReturn = m_pQuelle->GetPosition();
    pCall->m_nCallerLine = CallerLine();
    pCall->m_nDepth = m_cFunctionStack.GetCount();
    pCall->m_fSourceChanged =
        nSourceChanged >= 0 ? nSourceChanged : m_pDebugger != nullptr && pInfo->m_strSource != m_strSource;
    int fSourceChanged = pCall->m_fSourceChanged;
    m_cCallStack.Push(pCall.release());
    m_nAtHead = m_cFunctionStack.GetCount();
    if (fSourceChanged)
        m_pDebugger->SetSource(pInfo->m_strSource.c_str(), nullptr);
    m_pQuelle->SetPosition(pInfo->m_pCode);
}

void CLumBasic::AddCallSites(CLumsException& e) const
{
    size_t nOmitted = 0;
    VisitCallSites(
        CLumsException::MAX_HEAD, CLumsException::MAX_TAIL,
        [&](int, SLumCallSite&& site) { e.AddCallSite(std::move(site)); }, nOmitted);
    if (nOmitted != 0)
        e.OmitCallSites(nOmitted);
}

void CLumBasic::VisitCallSites(size_t nHead, size_t nTail,
                               const std::function<void(int, SLumCallSite&&)>& fnSite, size_t& nOmitted) const
{
    // The stacks still hold the run as it stands. A call entered below a procedure's
    // head tells the line of its call.
    int nNames = m_cFunctionStack.GetCount();
    std::vector<long> aCallerLine(static_cast<size_t>(nNames) + 1, 0);
    for (int i = 0; i < m_cCallStack.GetCount(); ++i)
    {
        const CallData& call = *m_cCallStack.GetAt(i);
        if (call.m_nDepth >= 0 && call.m_nDepth <= nNames)
            aCallerLine[static_cast<size_t>(call.m_nDepth)] = call.m_nCallerLine;
    }
    auto site = [&](int i, long nLine) {
        SLumCallSite cSite;
        cSite.m_nLine = nLine;
        cSite.m_strSource = m_strSource;
        if (i >= 0)
        {
            cSite.m_strProcedure = m_cFunctionStack.GetAt(i);
            if (const CallInfo* pInfo = m_pFunctions ? m_pFunctions->Lookup(cSite.m_strProcedure) : nullptr)
            {
                cSite.m_strSource = pInfo->m_strSource;
                // At its head or its first marker: the line is its declaration's.
                if (i == m_nAtHead && i == nNames - 1)
                    cSite.m_nLine = pInfo->m_nLine;
            }
        }
        fnSite(i, std::move(cSite));
    };
    if (nNames == 0)
    {
        site(-1, m_nLine);
        return;
    }
    // The line each procedure stands at: the innermost at the current line, each other
    // at the line from which the one above it was called.
    size_t nKeep = nHead + nTail;
    long nLine = CallerLine();
    for (int i = nNames - 1; i >= 0; --i)
    {
        size_t nFromTop = static_cast<size_t>(nNames - 1 - i);
        if (nKeep < nHead || static_cast<size_t>(nNames) <= nKeep || nFromTop < nHead ||
            static_cast<size_t>(i) < nTail)
            site(i, nLine);
        else if (nFromTop == nHead)
            nOmitted += static_cast<size_t>(nNames) - nKeep;
        nLine = aCallerLine[static_cast<size_t>(i)];
    }
}

int CLumBasic::Sub()
{
    return LumFrame(FILE_LABEL, "CLumBasic::Sub()", [&] {
        const char* pszName = m_pQuelle->GetCountedText();
        m_cFunctionStack.Push(pszName);
        unsigned nLength = 0;
        std::string strParams = m_pQuelle->GetCountedText(&nLength);
        if (nLength == 0)
            return 0;
        size_t nStart = 0;
        while (nStart <= strParams.size())
        {
            size_t nEnd = strParams.find(':', nStart);
            if (nEnd == std::string::npos)
                nEnd = strParams.size();
            if (nEnd > nStart)
            {
                CLumScopedKey cKey(pszName, std::string_view(strParams).substr(nStart, nEnd - nStart));
                if (m_cParamStack.IsEmpty())
                    LumRaise(LUM_MSG_TOO_FEW_PARAMS, pszName, strParams.c_str());
                ValuePtr pArgument(m_cParamStack.Pop());
                ValuePtr pValue(new CLumsVarValue());
                char cType = strParams[nEnd - 1];
                if (cType == '$')
                    *pValue = pArgument->GetText();
                else if (cType == '%')
                    *pValue = static_cast<long>(pArgument->GetLong());
                else
                    *pValue = pArgument->GetDouble();
                SetVar(cKey.c_str(), pValue.release());
            }
            nStart = nEnd + 1;
        }
        return 0;
    });
}

int CLumBasic::End()
{
    return LumFrame(FILE_LABEL, "CLumBasic::End()", [&] {
        unsigned short wToken = m_pQuelle->GetToken();
        std::unique_ptr<CallData> pCall(m_cCallStack.IsEmpty() ? nullptr : m_cCallStack.Pop());
        std::string strName = m_cFunctionStack.Pop();
        if (!pCall)
            return 1;
        m_pQuelle->SetPosition(pCall->m_pReturn);
        if (wToken == LBT_FUNCTION)
        {
            CLumScopedKey cKey(strName, strName);
            pCall->m_pResult = new CLumsVarValue(*GetVar(cKey.c_str(), nullptr));
            if (pCall->m_fSourceChanged)
                m_pDebugger->RecallSource();
            m_cCallStack.Push(pCall.release());
            return 1;
        }
        if (pCall->m_fSourceChanged)
            m_pDebugger->RecallSource();
        NoteReturn(pCall->m_nCallerLine);
        return 0;
    });
}

namespace
{
// Moves the files that an import imported in turn into the importer's list, on either
// way out: their procedures may be in the shared table, so they must live as long as
// the outermost interpreter, whatever became of the import itself.
struct HandUpImports
{
    std::list<CLumBasicFile*>& m_lstTo;
    std::list<CLumBasicFile*>& m_lstFrom;
    ~HandUpImports() { m_lstTo.splice(m_lstTo.end(), m_lstFrom); }
};
} // namespace

int CLumBasic::Import()
{
    return LumFrame(FILE_LABEL, "CLumBasic::Import()", [&] {
        for (int nParam = 1; HasArg(); ++nParam)
        {
            ValuePtr pPath(GetArg(AT_STRING, nParam));
            // A plain interpreter of its own stacks, sharing store and table only.
            CLumBasic cImport(m_pVariables, m_pFunctions);
            cImport.m_pBudget = m_pBudget;
            cImport.m_fFastPaths = m_fFastPaths;
            cImport.m_pFilePolicy = m_pFilePolicy;
            // The import is debugged as its importer is.
            cImport.m_fDebugMode = m_fDebugMode;
            HandUpImports handUp{m_cImportFiles, cImport.m_cImportFiles};
            std::unique_ptr<CLumBasicFile> pFile(cImport.DoImport(pPath->GetText(), m_pDebugger));
            m_cImportFiles.push_back(pFile.get());
            pFile.release();
        }
        return 0;
    });
}

CLumBasicFile* CLumBasic::DoImport(const char* pszPath, CLumBasicDebugger* pDebugger)
{
    auto addMacro = [pszPath](CLumsException& e) {
        if (pszPath != nullptr)
            e.AddString() = LumFormat(LoadMessage(LUM_MSG_IMPORTED_MACRO).c_str(), pszPath);
    };
    // m_nLine is the imported program's line; the frame of Do adds the importer's.
    auto addLine = [this](CLumsException& e) {
        if (m_nLine > 0)
            e.AddString() = LumFormat(LoadMessage(LUM_MSG_LINE).c_str(), m_nLine);
        AddCallSites(e);
    };
    auto addBoth = [&](CLumsException& e) {
        addMacro(e);
        addLine(e);
    };
    auto addUnexpected = [&](CLumsException& e) {
        lumframe::Unexpected()(e);
        addMacro(e);
    };
    return LumFrameEx("LUMBASIC", "CLumBasic::DoImport()", addBoth, addUnexpected, addLine, [&] {
        m_pDebugger = pDebugger;
        std::unique_ptr<CLumBasicFile> pFile(m_pFilePolicy ? m_pFilePolicy->OpenImage(pszPath)
                                                           : new CLumBasicFile(pszPath));
        m_pQuelle = pFile.get();
        int fMainModule = m_fMainModule;
        m_fMainModule = 0;
        RunLoop();
        m_fMainModule = fMainModule;
        m_pQuelle = nullptr;
        return pFile.release();
    });
}
