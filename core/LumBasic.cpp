#include <lumbasic/LumBasic.h>
#include <lumbasic/LumBasicDebugger.h>
#include <lumbasic/LumBasicExtModul.h>

#include "core/LumDepthGuard.h"
#include "fast/LumFastForm.h"
#include "core/LumFrame.h"

LUM_IMPLEMENT_RUNTIME(CLumBasic, CLumObject, nullptr)

namespace
{
const char* const FILE_LABEL = "LUMBASIC";

// An image starts with its source record or a statement, a token whose low byte is a
// token class, 0x80 to 0x85. A word at the start that is neither says that the bytes
// are no image at all: a foreign file, read for one, whose content is not shown, only
// where it stands. Any other unknown token is a statement of a module that is not
// attached, and is named.
[[noreturn]] void RaiseUnknownToken(const CLumBasicFile* pFile, unsigned short wToken)
{
    const unsigned char* pBase = pFile != nullptr ? pFile->GetBasePointer() : nullptr;
    unsigned nClass = wToken & 0xFFu;
    if (pBase != nullptr && (nClass < 0x80 || nClass > 0x85))
    {
        const unsigned char* pAt = pFile->GetPosition() - 2;
        const unsigned char* pFirst = pBase;
        std::shared_ptr<const CLumImageRange> pImage = pFile->GetImage();
        if ((!pImage || pImage->m_pEnd - pBase >= 4) && pBase[0] == 0x80 && pBase[1] == 0x03)
            pFirst += 4 + (pBase[2] | (pBase[3] << 8));
        if (pAt == pBase || pAt == pFirst)
            LumRaise(LUM_MSG_NOT_AN_IMAGE, static_cast<long>(pAt - pBase));
    }
    LumRaise(LUM_MSG_UNKNOWN_TOKEN, static_cast<unsigned>(wToken));
}
} // namespace

CLumBasic::CLumBasic(CLumVariables* pVariables, CLumFunctions* pFunctions)
    : m_pExtModuls(new std::vector<CLumBasicExtModul*>())
{
    LumFrame(FILE_LABEL, "CLumBasic::CLumBasic()", [&] { CLumBasic::Init(pVariables, pFunctions); });
}

CLumBasic::~CLumBasic()
{
    LumNoThrow([&] { UnLoadAllExtModuls(); });
    // A module that failed to detach is deleted all the same.
    for (CLumBasicExtModul* pModul : *m_pExtModuls)
        delete pModul;
    m_pExtModuls.reset();
    // UnInit frees memory only.
    LumNoThrow([&] { CLumBasic::UnInit(); });
}

void CLumBasic::Init(CLumVariables* pVariables, CLumFunctions* pFunctions)
{
    LumFrame(FILE_LABEL, "CLumBasic::Init()", [&] {
        if (m_fInitialized)
            return;
        m_pQuelle = nullptr;
        m_nLine = 0;
        m_nAtHead = -1;
        m_pDebugger = nullptr;
        m_fOwnDebugger = 0;
        m_fDebuggerLeftOver = 0;
        m_fMainModule = 1;
        m_fInFunction = 0;
        m_fDebugMode = CLumBasicDebugger::m_fDebug;
        m_fOwnVariables = pVariables == nullptr;
        m_pVariables = pVariables ? pVariables : new CLumVariables();
        m_fOwnFunctions = pFunctions == nullptr;
        m_pFunctions = pFunctions ? pFunctions : new CLumFunctions();
        m_fInitialized = 1;
    });
}

void CLumBasic::UnInit()
{
    LumFrame(FILE_LABEL, "CLumBasic::UnInit()", [&] {
        if (!m_fInitialized)
            return;
        if (m_pVariables != nullptr && m_fOwnVariables)
        {
            delete m_pVariables;
            m_pVariables = nullptr;
        }
        if (m_pFunctions != nullptr && m_fOwnFunctions)
        {
            delete m_pFunctions;
            m_pFunctions = nullptr;
        }
        if (m_pDebugger != nullptr && m_fOwnDebugger)
            DropDebugger();
        for (CLumBasicFile* pFile : m_cImportFiles)
            delete pFile;
        m_cImportFiles.clear();
        m_fInitialized = 0;
    });
}

void CLumBasic::Do(const char* pszPath)
{
    RunMain(pszPath, nullptr, 0);
}

void CLumBasic::DoMemory(const unsigned char* pData, size_t nLength)
{
    RunMain(nullptr, pData, nLength);
}

void CLumBasic::DoFile(CLumBasicFile& file)
{
    file.Rewind();
    RunMain(nullptr, nullptr, 0, &file);
}

void CLumBasic::SetVariables(CLumVariables* pVariables)
{
    if (m_fOwnVariables)
        delete m_pVariables;
    m_fOwnVariables = pVariables == nullptr;
    m_pVariables = pVariables ? pVariables : new CLumVariables();
}

void CLumBasic::RunMain(const char* pszPath, const unsigned char* pData, size_t nLength, CLumBasicFile* pKept)
{
    // A failed run leaves its records on the stacks; they go once the failure has
    // taken its call sites, so that the next run starts as this one did. The same
    // holds for a debugger it made, with its step mode, breakpoints and sources.
    if (m_fDebuggerLeftOver)
        DropDebugger();
    SLumStackDepths depths = GetStackDepths();
    bool fHadDebugger = m_pDebugger != nullptr;
    auto addLine = [this, &depths, fHadDebugger, pKept](CLumsException& e) {
        if (m_nLine > 0)
            e.AddString() = LumFormat(LoadMessage(LUM_MSG_LINE).c_str(), m_nLine);
        AddCallSites(e);
        if (m_pDebugger != nullptr && m_fDebugMode)
            m_pDebugger->Fail(e);
        UnwindStacks(depths);
        m_fDebuggerLeftOver = !fHadDebugger && m_pDebugger != nullptr && m_fOwnDebugger;
        if (pKept != nullptr)
            pKept->Forget();
    };
    LumFrameEx(FILE_LABEL, "CLumBasic::Do()", addLine, lumframe::Unexpected(), addLine, [&] {
        // The image lives for this run only; afterwards m_pQuelle names nothing.
        struct ClearQuelle
        {
            CLumBasic* m_p;
            ~ClearQuelle() { m_p->m_pQuelle = nullptr; }
        } clear{this};
        std::unique_ptr<CLumBasicFile> pFile(pKept != nullptr ? nullptr
                                             : pszPath != nullptr || pData == nullptr
                                                 ? new CLumBasicFile(pszPath)
                                                 : new CLumBasicFile(pData, nLength));
        m_pQuelle = pKept != nullptr ? pKept : pFile.get();
        m_cBudget.m_nCount = 0;
        m_nAtHead = -1;
        m_cBudget.m_nBytesAtStart = LumValueBytes();
        m_cBudget.m_nBytesAhead = 0;
        PreRunLoopEM();
        RunLoop();
        PostRunLoopEM();
    });
}

CLumBasic::SLumStackDepths CLumBasic::GetStackDepths() const
{
    return {m_cCmdStack.GetCount(), m_cCallStack.GetCount(), m_cParamStack.GetCount(),
            m_cFunctionStack.GetCount(), m_fInFunction};
}

void CLumBasic::UnwindStacks(const SLumStackDepths& depths) noexcept
{
    while (m_cCmdStack.GetCount() > depths.m_nCmd)
        delete m_cCmdStack.Pop();
    while (m_cCallStack.GetCount() > depths.m_nCall)
        delete m_cCallStack.Pop();
    while (m_cParamStack.GetCount() > depths.m_nParam)
        delete m_cParamStack.Pop();
    while (m_cFunctionStack.GetCount() > depths.m_nFunction)
        m_cFunctionStack.Drop();
    m_fInFunction = depths.m_fInFunction;
}

void CLumBasic::RunLoop()
{
    RunLoopFrom(nullptr);
}

void CLumBasic::RunLoopFrom(SLumFastStep* pStart)
{
    LumFrame(FILE_LABEL, "CLumBasic::RunLoop()", [&]() LUM_INLINE_BODY {
        CLumDepthGuard guard(CLumDepthGuard::RUN, MAX_NESTING);
        CLumBasicFile* pFile = m_pQuelle;
        unsigned short wToken;
        bool fStartedDebugger = false;
        if (pStart != nullptr)
        {
            // A procedure's head: no source name and no debugging information.
            pFile->MoveTo(pStart->m_pAt + 2);
            wToken = pStart->m_wToken;
        }
        else
        {
            wToken = pFile->GetToken();
            if (wToken == LBT_SOURCENAME)
            {
                unsigned nLength = 0;
                const char* pszName = pFile->GetCountedText(&nLength);
                m_strSource.assign(pszName);
                ++m_nSourceSerial;
                if (m_pDebugger != nullptr && !m_fMainModule)
                    m_pDebugger->SetSource(m_strSource.c_str(), nullptr);
                wToken = pFile->GetToken();
            }
            if (wToken == LBT_DEBUGINFO && m_fMainModule && !m_fInFunction)
            {
                StartDebug(m_strSource.c_str(), nullptr);
                fStartedDebugger = true;
            }
        }
        int nResult = 0;
        // A derived class may replace any handler, and attached modules see every
        // statement through the dispatch: both run from the stream alone. The host's
        // registered names claim only their own tokens, which the fast form hands to
        // the dispatch as it does every statement it does not run itself.
        if (wToken != 0 && TakesFastPaths() && !ModulsWatch())
            pFile->GetFastForm().Run(*this, wToken, nResult, pStart);
        while (wToken != 0 && nResult == 0)
        {
            if (m_pBudget->IsWatched())
                m_pBudget->Enforce();
            nResult = DispatchToken(wToken);
            // The handler may have moved the run to another stream position; read
            // through m_pQuelle, which a handler may even have replaced.
            pFile = m_pQuelle;
            if (pFile->PeekToken() == LBT_SEPARATOR)
                pFile->GetToken();
            if (nResult == 0)
                wToken = pFile->GetToken();
        }
        if (m_pDebugger != nullptr && !m_fMainModule && !m_fInFunction)
            m_pDebugger->RecallSource();
        if (fStartedDebugger && m_fMainModule && !m_fInFunction)
            EndDebug();
    });
}

int CLumBasic::DispatchToken(unsigned short wToken)
{
    return LumFrame(FILE_LABEL, "CLumBasic::DispatchToken()", [&]() -> int {
        if (DispatchTokenEM(wToken) == 0)
            return 0;
        switch (wToken)
        {
#define LUM_STATEMENT_CASE(token, handler)                                                                   \
    case LBT_##token:                                                                                        \
        return handler();
            LUM_STATEMENT_HANDLERS(LUM_STATEMENT_CASE)
#undef LUM_STATEMENT_CASE
        default:
            RaiseUnknownToken(m_pQuelle, wToken);
        }
    });
}

CLumsVarValue* CLumBasic::ExtFunction(unsigned short wToken)
{
    return LumFrame(FILE_LABEL, "CLumBasic::ExtFunction()", [&]() -> CLumsVarValue* {
        if (CLumsVarValue* pValue = ExtFunctionEM(wToken))
            return pValue;
        if (wToken == LBT_SHOWMESSAGE)
            return ShowMessageFct();
        return nullptr;
    });
}

// Every main image that opens with a line marker gets a debugger; with debug mode
// off it stays silent.
void CLumBasic::StartDebug(const char* pszSource, const char* pszText)
{
    m_cCallStack.ForgetMainLineMark();
    if (m_pDebugger == nullptr)
    {
        m_pDebugger = new CLumBasicDebugger();
        m_fOwnDebugger = 1;
    }
    m_pDebugger->Start(this, pszSource, pszText);
}

void CLumBasic::EndDebug()
{
    if (m_pDebugger == nullptr)
        return;
    m_pDebugger->End();
    if (m_fOwnDebugger)
        DropDebugger();
}

void CLumBasic::DropDebugger() noexcept
{
    if (m_fOwnDebugger)
        delete m_pDebugger;
    m_pDebugger = nullptr;
    m_fOwnDebugger = 0;
    m_fDebuggerLeftOver = 0;
}
