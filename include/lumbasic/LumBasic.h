// The interpreter. A host makes one, gives it a variable store and a procedure table
// (or lets it make its own) and runs program images with Do. Every statement
// handler, the variable access and the dispatch are virtual, so a derived class can
// replace each of them.
#pragma once

#include <lumbasic/LumBasicFile.h>
#include <lumbasic/LumBasicStack.h>
#include <lumbasic/LumExport.h>
#include <lumbasic/LumFunctions.h>
#include <lumbasic/LumHostArgs.h>
#include <lumbasic/LumObject.h>
#include <lumbasic/LumTokens.h>
#include <lumbasic/LumVariables.h>
#include <lumbasic/LumsException.h>
#include <lumbasic/LumsVarValue.h>

#include <atomic>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <vector>

class CLumBasicDebugger;
class CLumBasicExtModul;
class CLumExpression;
class CLumFilePolicy;
struct SLumFastStep;

// A host's answer to a file its program asks for by `strName`, the name the program
// used: an image it imports, or a source the debugger shows. Fills `aBytes` and gives
// true, or gives false to refuse the file. Called on the run's thread.
using LumFileResolver = std::function<bool(const std::string& strName, std::vector<uint8_t>& aBytes)>;

class LUM_API CLumBasic : public CLumObject
{
    LUM_DECLARE_RUNTIME(CLumBasic)
    friend class CLumExpression;
    friend class CLumBasicDebugger;
    friend class CLumBasicExtModul;
    friend class CLumFastForm;
    friend class CLumHostModul;
    friend class CLumHostArgs;

public:
    // What a caller of GetArg asks for.
    enum AusdruckTyp
    {
        AT_STRING = 0,
        AT_NUMBER = 1,
        AT_LONG = 2,
        AT_DOUBLE = 3,
        AT_ANY = 4,
    };

    // Nested runs (user functions, imports) deeper than this fail instead of
    // exhausting the machine's stack.
    static constexpr int MAX_NESTING = 2000;
    // Procedure calls open at once, at most: a call is a jump, so this bounds memory, not the stack.
    static constexpr int MAX_CALL_DEPTH = 100000;
    // If and For statements open at once, at most. A program never nests this deep; a
    // damaged image whose Next jumps back onto its For, or a procedure left from inside
    // an If on every pass of a loop, would otherwise grow the stack without end.
    static constexpr int MAX_OPEN_COMMANDS = 100000;

    explicit CLumBasic(CLumVariables* pVariables = nullptr, CLumFunctions* pFunctions = nullptr);
    ~CLumBasic() override;
    CLumBasic(const CLumBasic&) = delete;
    CLumBasic& operator=(const CLumBasic&) = delete;

    virtual void Init(CLumVariables* pVariables, CLumFunctions* pFunctions);
    virtual void UnInit();
    // One whole run of the image file at `pszPath`.
    virtual void Do(const char* pszPath);
    virtual void DumpVariables(std::vector<std::string>& list) const;
    virtual std::string DumpVariable(const char* pszName) const;
    virtual long GetLine() const { return m_nLine; }

    long GetLineNr() const { return m_nLine; }
    void SetLineNr(long nLine) { m_nLine = nLine; }
    CLumBasicFile* GetQuelle() const { return m_pQuelle; }
    void SetQuelle(CLumBasicFile* pQuelle) { m_pQuelle = pQuelle; }
    CLumVariables* GetVariables() const { return m_pVariables; }
    CLumFunctions* GetFunctions() const { return m_pFunctions; }
    const std::string& GetSource() const { return m_strSource; }
    void StartDebug(const char* pszSource, const char* pszText);
    void EndDebug();

    // One whole run of an image in memory, every read checked against its length.
    // The image stays the caller's.
    virtual void DoMemory(const unsigned char* pData, size_t nLength);
    // One whole run of the image on `file`, a cursor the host made over an image in
    // memory and keeps for the runs after this one: what the cursor learnt (the trees
    // it read, the fast form of the statements) serves them all, which makes one image
    // run over many stores cheap. A failed run makes it forget that, so the next run
    // starts as on a new cursor. The cursor serves one run at a time and is used and
    // freed on the thread that made it.
    virtual void DoFile(CLumBasicFile& file);
    // The store of the runs from now on, the host's, in place of the one given before
    // (which is freed if the interpreter made it). Not while a run goes on.
    void SetVariables(CLumVariables* pVariables);

    // The statements one run may take, counted over the whole run with its user
    // functions and imports; 0, the default, sets no limit. A run that would take one
    // more fails at that statement, and the interpreter is ready for the next run.
    void SetStatementLimit(unsigned long nLimit) { m_cBudget.SetLimit(nLimit); }
    unsigned long GetStatementLimit() const { return m_cBudget.m_nLimit; }
    // The statements the last run took, as counted against its limit: counted only
    // while a limit is set.
    unsigned long GetStatementCount() const { return m_cBudget.m_nCount; }
    // The bytes the values of one run may hold at once beyond what they held when it
    // began (records and text, counted on the run's thread); 0, the default, sets no
    // budget. A run over it fails at its next statement.
    void SetMemoryLimit(size_t nBytes) { m_cBudget.SetMemoryLimit(nBytes); }
    size_t GetMemoryLimit() const { return m_cBudget.m_nMemoryLimit; }
    // Ends the current run at its next statement with a failure of its own; without a
    // run, the next one ends at its first statement. Safe from any thread and from a
    // signal handler: it only sets a flag.
    void RequestStop() noexcept
    {
        m_cBudget.m_nWatch.fetch_or(SLumRunBudget::STOP, std::memory_order_relaxed);
    }
    // Whether runs take the fast paths: the fast form, functions run whole, names
    // remembered where they were found. On by default. Off, every statement runs from
    // the image through its handler and every name is looked up anew: slower, and the
    // same in every result, failure, trail and count, which makes it the twin to
    // compare with where the fast paths are suspected. Imports follow the importer.
    void SetFastPaths(bool fOn) { m_fFastPaths = fOn; }
    bool GetFastPaths() const { return m_fFastPaths; }

    // The files a run may open on its program's behalf (the images it imports, the
    // sources the debugger shows, the profile files beside them), for a program the
    // host does not trust. Without a policy, the default, a run opens any file the
    // process may. A refused file fails the run with a message that names the file as
    // the program wrote it and nothing of its content. The image given to Do is the
    // host's and is never refused. Imports follow their importer's policy.
    //
    // SetFileRoot: every such file must lie inside the folder `pszRoot`, once ".", ".."
    // and symbolic links are resolved; relative names still go by the working
    // directory. Fails when `pszRoot` is no folder.
    void SetFileRoot(const char* pszRoot);
    // SetFileResolver: no file is opened at all; images and sources are asked of
    // `fnResolve`, and profile files are refused.
    void SetFileResolver(LumFileResolver fnResolve);
    void ClearFilePolicy();

    // The extension module chain. LoadExtModul attaches a module at the chain's end
    // and takes ownership; it stays attached across runs until UnLoadAllExtModuls,
    // which the destructor calls. Each gives 1.
    int LoadExtModul(CLumBasicExtModul* pExtModul);
    // Module libraries are the host's to load: this reads nothing and changes nothing.
    int LoadExtModulesFromIni(const char* pszFileName);
    int UnLoadAllExtModuls();
    // The first attached module of the class, by exact name; fails when there is none.
    CLumBasicExtModul* GetExtModul(const char* pszClassName) const;

    // A statement or function of the host by name, with the callable that runs it
    // (<lumbasic/LumHostArgs.h>); `nArgs` is the number of arguments a call gives, or
    // LUM_ANY_ARGS. The first registration attaches the module that holds them all
    // at the chain's end, so that modules attached before see the tokens first; the
    // module goes, with the registrations, as every module goes (UnLoadAllExtModuls).
    // A name that is no name, a word of the language, registered before, or whose
    // token another registered name has, is refused with a CLumsException.
    void RegisterFunction(const char* pszName, int nArgs, LumHostFunction fnFunction);
    void RegisterStatement(const char* pszName, int nArgs, LumHostStatement fnStatement);
    // The names registered so far, in order: LumCompile(source, basic) takes them.
    const std::vector<SLumHostName>& GetHostNames() const;

protected:
    virtual void RunLoop();
    virtual int DispatchToken(unsigned short wToken);
    virtual CLumsVarValue* ExtFunction(unsigned short wToken);
    virtual int GetDebugMode() const { return m_fDebugMode; }
    virtual void SetDebugMode(int fDebugMode) { m_fDebugMode = fDebugMode; }

    int HasArg();
    CLumsVarValue* GetArg(AusdruckTyp type, int nParam);
    virtual void SetVar(const char* pszName, CLumsVarValue* pValue);
    virtual CLumsVarValue* GetVar(const char* pszName, long* const pIndices) const;
    virtual void VariableChanged(const char* pszName, const char* pszValue);
    void PushParams();

    // Statement handlers: 0 lets the run go on, anything else ends the run loop.
    virtual int Assign();
    virtual int Dim();
    virtual int If();
    virtual int Else();
    virtual int EndIf();
    virtual int For();
    virtual int Next();
    virtual int While();
    virtual int Wend();
    virtual int DoLoop();
    virtual int Loop();
    virtual CLumsVarValue* ShowMessageFct();
    virtual int ShowMessage();
    virtual int Declare();
    virtual int Call();
    virtual int CallEx();
    virtual int End();
    virtual int Sub();
    virtual int Import();
    virtual int SetDebugInfo();

    // Extension module chain.
    virtual int PreRunLoopEM();
    virtual int PostRunLoopEM();
    virtual int DispatchTokenEM(unsigned short wToken);
    virtual CLumsVarValue* ExtFunctionEM(unsigned short wToken);
    virtual void SetBasisModulEM(CLumBasic* pBasis);

    // Whether an attached module may watch every statement: any module but the one
    // that holds the registered names, which claims its own tokens only. The fast
    // paths run statements past the dispatch only while none does.
    bool ModulsWatch() const { return m_pExtModuls->size() > (m_pHostModul != nullptr ? 1u : 0u); }

    // The procedure depth that drives scoping: the number of running procedures.
    int GetDepth() const { return m_cFunctionStack.GetCount(); }

    CLumBasicFile* m_pQuelle = nullptr;
    long m_nLine = 0;
    CLumCmdStack m_cCmdStack;
    CLumCallStack m_cCallStack;
    CLumParamStack m_cParamStack;
    CLumFunctionStack m_cFunctionStack;
    CLumVariables* m_pVariables = nullptr;
    int m_fOwnVariables = 0;
    CLumFunctions* m_pFunctions = nullptr;
    int m_fOwnFunctions = 0;
    std::string m_strSource;
    // Counts the changes of m_strSource, so that a comparison with it can be remembered.
    uint64_t m_nSourceSerial = 0;
    int m_fDebugMode = 0;
    CLumBasicDebugger* m_pDebugger = nullptr;
    int m_fOwnDebugger = 0;
    // The debugger is one that a failed run made: it stays for the host to look at
    // until the next run, which starts with one of its own.
    int m_fDebuggerLeftOver = 0;
    int m_fMainModule = 1;
    int m_fInFunction = 0;
    int m_fInitialized = 0;
    std::list<CLumBasicFile*> m_cImportFiles;
    // The attached modules in load order, owned. Walked by index, so that a module
    // may attach another one while the chain is being walked.
    std::unique_ptr<std::vector<CLumBasicExtModul*>> m_pExtModuls;
    // The module in the chain that holds the registered names; null before the first.
    CLumHostModul* m_pHostModul = nullptr;
    // What may end a run between statements: its statement limit, a stop request, its
    // memory budget. An import's interpreter counts on its importer's.
    struct SLumRunBudget
    {
        enum
        {
            LIMIT = 1,
            STOP = 2,
            MEMORY = 4,
        };
        // Which of them are set: with none, a statement costs one test of this word.
        std::atomic<unsigned> m_nWatch{0};
        unsigned long m_nLimit = 0;
        unsigned long m_nCount = 0;
        size_t m_nMemoryLimit = 0;
        int64_t m_nBytesAtStart = 0;
        // Bytes of values made for a statement before its turn, which count from then,
        // and those that the last admission let count.
        int64_t m_nBytesAhead = 0;
        int64_t m_nBytesAdmitted = 0;

        bool IsWatched() const noexcept { return m_nWatch.load(std::memory_order_relaxed) != 0; }
        void SetLimit(unsigned long nLimit);
        void SetMemoryLimit(size_t nBytes);
        bool IsOverMemory() const noexcept;
        // The fast form reads a statement's trees when it translates it, before the
        // statement is admitted; the regular way reads them as the statement runs. The
        // values that reading made count once the next statement has been admitted.
        void CountFromNextStatement(int64_t nBytes) noexcept
        {
            m_nBytesAhead += nBytes;
            m_nBytesAtStart += nBytes;
        }
        // Counts a statement against the limit; false, and nothing counted, where the
        // run must end before it. `pfOverMemory`, where given, tells whether the memory
        // budget was the reason.
        bool Admit(bool* pfOverMemory = nullptr) noexcept;
        // Counts a statement; fails where the run must end before it.
        void Enforce();
        // Takes back the last admission, the statement's count and the bytes it let
        // count: the statement goes to its handler, whose dispatch admits it again.
        void TakeBack() noexcept
        {
            if (m_nLimit != 0)
                --m_nCount;
            CountFromNextStatement(m_nBytesAdmitted);
            m_nBytesAdmitted = 0;
        }
    };
    SLumRunBudget m_cBudget;
    SLumRunBudget* m_pBudget = &m_cBudget;
    // Whether this object's variable access is the one of this class: only then may
    // the run remember where a name was found. -1 until asked.
    int m_nPlainAccess = -1;
    bool m_fFastPaths = true;

    // The variable `pszName` resolves to now, as GetVar gives it, remembered in
    // `cache`. Null when this object resolves names its own way (a derived class
    // that overrides the variable access): the caller then goes through GetVar and
    // SetVar each time.
    CLumsVarValue* CachedVar(CLumNameCache& cache, const char* pszName);
    // Whether a store must go through SetVar for the change notice of debug mode: the
    // notice of this class goes nowhere, so only a derived class needs it.
    bool NeedsChangeNotice() { return m_fDebugMode && !TakesFastPaths(); }
    // Whether a run may take the fast form and remember names: the fast paths are on
    // and the variable access is this class's own.
    bool TakesFastPaths() { return m_fFastPaths && HasPlainAccess(); }
    bool HasPlainAccess() { return m_nPlainAccess >= 0 ? m_nPlainAccess != 0 : FindPlainAccess(); }
    bool FindPlainAccess();
    void StoreNamed(const char* pszName, std::unique_ptr<CLumsVarValue> pValue);
    // `s$ = s$ + ...` of constants and variables, appended to the variable in place;
    // false, and nothing done, for any other assignment. The cursor stands at the value.
    bool AppendToSelf(const char* pszName);
    // The variable that `cache` still names, or null when it names none any more.
    CLumsVarValue* CachedVarOrNull(const CLumNameCache& cache) const
    {
        return cache.m_pStore == m_pVariables && cache.m_nGeneration == m_pVariables->GetGeneration() &&
                       cache.m_nScope == m_cFunctionStack.GetScope()
                   ? cache.m_pValue
                   : nullptr;
    }

private:
    // Checks and converts an argument's value as GetArg does for `type`.
    static void ConvertArg(AusdruckTyp type, int nParam, CLumsVarValue& value);
    // Stores a host's value into the variable `pszName` as an assignment would.
    void AssignFromHost(const char* pszName, const CLumsVarValue& value);
    void Register(SLumHostName name, LumHostStatement fnStatement, LumHostFunction fnFunction);
    // `pKept`: the host's cursor to run on, in place of one made for the run.
    void RunMain(const char* pszPath, const unsigned char* pData, size_t nLength,
                 CLumBasicFile* pKept = nullptr);
    // Records the procedures running at a failure, innermost first, behind the sites
    // an inner run (an import) recorded.
    void AddCallSites(CLumsException& e) const;
    // Gives the procedures running now to `fnSite`, innermost first, with the index of
    // each on the procedure stack (-1 for statements outside any): the first `nHead`
    // and the last `nTail` of them, counting those between in `nOmitted`.
    void VisitCallSites(size_t nHead, size_t nTail, const std::function<void(int, SLumCallSite&&)>& fnSite,
                        size_t& nOmitted) const;
    struct SLumStackDepths
    {
        int m_nCmd, m_nCall, m_nParam, m_nFunction, m_fInFunction;
    };
    SLumStackDepths GetStackDepths() const;
    // Pops what a failed run left on the stacks down to the depths it began with.
    void UnwindStacks(const SLumStackDepths& depths) noexcept;
    // Deletes a debugger that this object made, without ending its session.
    void DropDebugger() noexcept;
    // The run loop, from the cursor, or from a statement of the fast form that stands
    // where the cursor stands (the head of a function called from an expression).
    void RunLoopFrom(SLumFastStep* pStart);
    // Pushes the return record of a call and moves the run to the procedure's head.
    // `nSourceChanged` is whether the procedure's source differs from the running one,
    // -1 to find out.
    void EnterProcedure(const CallInfo* pInfo, int nSourceChanged = -1);
    // A procedure called at `nCallerLine` returned. Its last line stays in m_nLine
    // until the caller's next marker, as failures report it; the call sites of a
    // failure and of further calls from the same statement name the caller's line.
    void NoteReturn(long nCallerLine)
    {
        m_nReturnedLine = m_nLine;
        m_nReturnedTo = nCallerLine;
        m_nAtHead = -1;
    }
    // A line marker ran: the procedure on top stands at a line of its own, whatever a
    // call that returned before left in m_nLine.
    void NoteMarker(long nLine)
    {
        m_nLine = nLine;
        m_nReturnedLine = -1;
        m_nAtHead = -1;
    }
    // The line of the statement running in the procedure on top.
    long CallerLine() const { return m_nLine == m_nReturnedLine ? m_nReturnedTo : m_nLine; }
    long m_nReturnedLine = -1;
    long m_nReturnedTo = 0;
    // The procedures running below one entered that has passed no line marker yet, -1
    // when there is none: m_nLine still names its caller's line, in its caller's source.
    int m_nAtHead = -1;
    // Runs the image at `pszPath` as an import and gives its file, which the caller owns.
    CLumBasicFile* DoImport(const char* pszPath, CLumBasicDebugger* pDebugger);
    // Whether the line marker at `pAt` enters its line rather than going on in it: a
    // line counts and stops once each time the run comes to it, though a statement of
    // it may have a marker of its own. Each level of calls keeps its own last marker.
    bool EntersLine(long nLine, const unsigned char* pAt)
    {
        return m_cCallStack.LineMark().Enters(nLine, pAt);
    }

    // What a run may open on its program's behalf; null for anything.
    std::shared_ptr<const CLumFilePolicy> m_pFilePolicy;
};
