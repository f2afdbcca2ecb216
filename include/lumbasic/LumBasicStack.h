// The four last-in-first-out stores of a run and their records.
#pragma once

#include <lumbasic/LumExport.h>
#include <lumbasic/LumVariables.h>
#include <lumbasic/LumsVarValue.h>

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

// An open If (kind 0) or For (kind 1).
struct LUM_API CmdData
{
    int m_nKind = 0;
    int m_fCondition = 0;
    const char* m_pszVarName = nullptr;
    // The counter's name as the record's own copy: a record can outlive its image (a run
    // that ends inside the loop leaves it for the next run's Next), so it never points there.
    std::string m_strVarName;
    CLumsVarValue* m_pEndValue = nullptr;
    CLumsVarValue* m_pStepValue = nullptr;
    // Where the counter was found, so that each pass need not look it up.
    CLumNameCache m_cCounter;
    // A For loop's closed runs from its Next that gave up (the fast form's count): past a
    // few, or one that gave up for good, the loop's remaining passes run the regular way.
    int m_nClosedTries = 0;
    ~CmdData()
    {
        delete m_pEndValue;
        delete m_pStepValue;
    }
    // Every If and For makes a record: a per-thread free list keeps them off the
    // general allocator.
    static void* operator new(size_t n);
    static void operator delete(void* p, size_t n) noexcept;
};

// The line marker of a level of calls that reached the debugger's side last there.
// Only debug mode fills it.
struct SLumLineMark
{
    const unsigned char* m_pAt = nullptr;
    long m_nLine = 0;

    // Whether the marker at `pAt` enters its line, the marker becoming the level's last.
    bool Enters(long nLine, const unsigned char* pAt)
    {
        bool fEnters = m_pAt == nullptr || m_nLine != nLine || pAt <= m_pAt;
        m_pAt = pAt;
        m_nLine = nLine;
        return fEnters;
    }
};

// A running call.
struct LUM_API CallData
{
    unsigned char* m_pReturn = nullptr;
    CLumsVarValue* m_pResult = nullptr;
    int m_fSourceChanged = 0;
    // The statement of the fast form that made the call, where it made one.
    void* m_pFastCaller = nullptr;
    // Where the call came from, for the report of a failure: the caller's line and
    // how many procedures ran below the callee.
    long m_nCallerLine = 0;
    int m_nDepth = 0;
    // The callee's level: each call enters its first line afresh.
    SLumLineMark m_cLineMark;
    ~CallData() { delete m_pResult; }
    static void* operator new(size_t n);
    static void operator delete(void* p, size_t n) noexcept;
};

// An empty stack is a fault of the interpreter's own bookkeeping, not a message of
// the catalogue: the frames turn it into the "unexpected error" message.
class LUM_API CLumStackEmpty : public std::logic_error
{
public:
    CLumStackEmpty() : std::logic_error("LumBasic: pop or top of an empty stack") {}
};

template <class T> class LUM_API CLumBasicStack
{
public:
    CLumBasicStack() { m_a.reserve(10); }
    CLumBasicStack(const CLumBasicStack&) = delete;
    CLumBasicStack& operator=(const CLumBasicStack&) = delete;

    void Push(T element) { m_a.push_back(std::move(element)); }
    T Pop()
    {
        if (m_a.empty())
            throw CLumStackEmpty();
        T element = std::move(m_a.back());
        m_a.pop_back();
        return element;
    }
    T& Top()
    {
        if (m_a.empty())
            throw CLumStackEmpty();
        return m_a.back();
    }
    const T& Top() const
    {
        if (m_a.empty())
            throw CLumStackEmpty();
        return m_a.back();
    }
    int IsEmpty() const { return m_a.empty(); }
    int GetCount() const { return static_cast<int>(m_a.size()); }
    // Counted from the bottom; the caller keeps i below GetCount().
    const T& GetAt(int i) const { return m_a[static_cast<size_t>(i)]; }

protected:
    std::vector<T> m_a;
};

// Owns what it holds: a stack deletes its remaining elements when it goes.
template <class T> class LUM_API CLumOwningStack : public CLumBasicStack<T*>
{
public:
    ~CLumOwningStack()
    {
        for (T* p : this->m_a)
            delete p;
    }
};

class LUM_API CLumCmdStack : public CLumOwningStack<CmdData>
{
};
// Keeps the line mark of the level running now at hand: a marker's hit reads it
// without looking at the stack.
class LUM_API CLumCallStack : public CLumOwningStack<CallData>
{
public:
    void Push(CallData* pCall)
    {
        CLumOwningStack::Push(pCall);
        m_pLineMark = &pCall->m_cLineMark;
    }
    CallData* Pop()
    {
        CallData* pCall = CLumOwningStack::Pop();
        m_pLineMark = m_a.empty() ? &m_cMainLineMark : &m_a.back()->m_cLineMark;
        return pCall;
    }
    // The top call's mark, or the one outside any call.
    SLumLineMark& LineMark() { return *m_pLineMark; }
    void ForgetMainLineMark() { m_cMainLineMark = SLumLineMark(); }

private:
    SLumLineMark m_cMainLineMark;
    SLumLineMark* m_pLineMark = &m_cMainLineMark;
};
class LUM_API CLumParamStack : public CLumOwningStack<CLumsVarValue>
{
};
// The scope id of a procedure name: the same for every activation of one name while
// the table keeps it, so that what a name resolved to in one call stands for the next.
// No id is ever given to two names; the table forgets its names when it grows large,
// and a name then gets a new id.
LUM_API uint64_t LumScopeOf(const char* pszName);

// The names of the procedures running. Every call pushes one, so a popped entry
// keeps its string for the next push to reuse.
class LUM_API CLumFunctionStack
{
public:
    CLumFunctionStack() { m_a.reserve(10); }
    CLumFunctionStack(const CLumFunctionStack&) = delete;
    CLumFunctionStack& operator=(const CLumFunctionStack&) = delete;

    void Push(const char* psz) { Push(psz, LumScopeOf(psz)); }
    // Pushes a name whose scope id the caller knows.
    void Push(std::string_view name, uint64_t nScope)
    {
        if (m_nCount == m_a.size())
            m_a.emplace_back();
        SFrame& frame = m_a[m_nCount];
        // The same procedure runs at the same depth again and again; an id names one
        // name only.
        if (frame.m_nScope != nScope || frame.m_strName.size() != name.size())
            frame.m_strName.assign(name.data(), name.size());
        frame.m_nScope = nScope;
        ++m_nCount;
        Rescope();
    }
    std::string Pop()
    {
        std::string str = TopString();
        --m_nCount;
        Rescope();
        return str;
    }
    // Pops without handing the name out.
    void Drop()
    {
        if (m_nCount == 0)
            throw CLumStackEmpty();
        --m_nCount;
        Rescope();
    }
    const std::string& TopString() const
    {
        if (m_nCount == 0)
            throw CLumStackEmpty();
        return m_a[m_nCount - 1].m_strName;
    }
    const char* Top() const { return TopString().c_str(); }
    // Counted from the bottom; the caller keeps i below GetCount().
    const std::string& GetAt(int i) const { return m_a[static_cast<size_t>(i)].m_strName; }
    int IsEmpty() const { return m_nCount == 0; }
    int GetCount() const { return static_cast<int>(m_nCount); }
    // Names what variable names resolve to: the procedure on top and whether names
    // are scoped (more than one procedure running); 0 with none running.
    uint64_t GetScope() const { return m_nScope; }

private:
    void Rescope()
    {
        m_nScope = m_nCount == 0 ? 0 : (m_a[m_nCount - 1].m_nScope << 1) | (m_nCount > 1 ? 1 : 0);
    }

    struct SFrame
    {
        std::string m_strName;
        // No name has the id 0.
        uint64_t m_nScope = 0;
    };
    std::vector<SFrame> m_a;
    size_t m_nCount = 0;
    uint64_t m_nScope = 0;
};
