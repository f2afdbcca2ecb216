// Closed runs: a call of a procedure of the program (a function's call in an
// expression, a call statement) or a statement's expression that calls functions, with
// every call it makes in turn, run whole in the fast form, without the interpreter's
// stacks and without a nested run loop. While a closed run goes on, no handler, module,
// debugger or host code runs, so nothing can look at the stacks; what the run leaves is
// the store's numbers and the line, and those it leaves as the regular way would.
//
// A closed run takes on only what cannot turn out differently: numbers, texts (while no
// memory budget is watched), If, While, Do and For, the built-ins the fast form
// computes, reads of elements that hold numbers, and calls of procedures whose heads
// the form has entered before. It counts its statements against the run's statement
// limit as the regular way counts them.
// Whatever else it meets (a text under a memory budget, a missing link or cache, a
// division by zero, a depth near a limit, a stop request, the statement limit), it
// gives up: it puts back every variable it wrote, from its undo list, and the call runs
// the regular way from its start, which then does or reports whatever it must. A call
// whose closed runs keep giving up stops trying.
#include "fast/LumFastForm.h"

#include <lumbasic/LumBasic.h>
#include <lumbasic/LumBasicDebugger.h>

#include "core/LumDepthGuard.h"
#include "core/LumScopedKey.h"
#include "expr/LumExpression.h"

#include <algorithm>
#include <limits>

namespace
{
// More arguments than this run the regular way.
const size_t MAX_CLOSED_ARGS = 8;
// A call stops trying closed runs after this many gave up for good, or this many
// warm-ups in a row.
const uint16_t MAX_CLOSED_FAILURES = 16;
const uint16_t MAX_CLOSED_WARMUPS = 4096;
// Variables a closed run notes before it gives up. A statement notes its variable once
// a run, so only a damaged image that runs one statement in two scopes comes near it.
const size_t MAX_UNDO = 65536;
// The expressions the regular way opens for the arguments of built-ins and the indices
// of elements inside each other beyond a statement's expression or an argument of a
// call: a closed run follows MAX_LEVELS of them, and keeps this far from the nesting
// limit.
const int NESTED_LEVELS = CLumFastForm::MAX_LEVELS + 1;

// The mark of a depth just entered: a marker of no line. Made once, not looked at for
// each call.
const SLumFastStep s_cFresh = [] {
    SLumFastStep fresh;
    fresh.m_nLine = std::numeric_limits<long>::min();
    return fresh;
}();

} // namespace

// Each marker that enters its line, as the regular way's EntersLine decides at the
// level of calls the run stands in, adds a hit to its own count: nothing is allocated
// but the list's first entry of a marker.
LUM_HOT void CLumFastForm::NoteHits(SLumFastStep* pMarker, unsigned nMarkers)
{
    for (; nMarkers > 0; --nMarkers, pMarker = pMarker->m_pNext)
        if (!pMarker->m_fMarkerPassive)
            NoteHit(pMarker);
}

// The markers of a link that are not passive, more than one or none: those behind the
// first enter their lines where the code knows they do (SLumSlotEdge::m_fRestEnter).
LUM_HOT void CLumFastForm::NoteHitsOf(const SLumSlotCode& code, const SLumSlotEdge& edge)
{
    SLumFastStep* const* ppActive = code.m_apActive.data() + edge.m_nFirstActive;
    SLumFastStep* const* ppEnd = ppActive + edge.m_nActive;
    if (!edge.m_fRestEnter || ppActive == ppEnd)
    {
        for (; ppActive != ppEnd; ++ppActive)
            NoteHit(*ppActive);
        return;
    }
    // The first as NoteHit decides, the mark and the last line counted left to the last.
    SLumFastStep* pFirst = *ppActive;
    if (m_pClosedMark->m_nLine != pFirst->m_nLine || pFirst->m_pAt <= m_pClosedMark->m_pAt)
    {
        if (pFirst->m_nHits == 0)
            List(pFirst);
        ++pFirst->m_nHits;
    }
    // Those behind it, listed at the run's first pass, are counted on the link after.
    if (edge.m_nRestRun == m_nClosedRun)
        ++edge.m_nRepeats;
    else
    {
        m_aRepeated.emplace_back(&code, &edge);
        edge.m_nRestRun = m_nClosedRun;
        while (++ppActive != ppEnd)
        {
            SLumFastStep* pMarker = *ppActive;
            if (pMarker->m_nHits == 0)
                List(pMarker);
            ++pMarker->m_nHits;
        }
    }
    m_pClosedMark = m_pLastCounted = ppEnd[-1];
}

// The passes of links counted on them go to their markers (which were listed at each
// link's first pass), or are dropped.
void CLumFastForm::FoldRepeats(bool fCount)
{
    for (const auto& repeated : m_aRepeated)
    {
        const SLumSlotEdge& edge = *repeated.second;
        if (fCount && edge.m_nRepeats != 0)
        {
            SLumFastStep* const* ppActive = repeated.first->m_apActive.data() + edge.m_nFirstActive;
            SLumFastStep* const* ppEnd = ppActive + edge.m_nActive;
            while (++ppActive != ppEnd)
                (*ppActive)->m_nHits += edge.m_nRepeats;
        }
        edge.m_nRepeats = 0;
    }
    m_aRepeated.clear();
}

// One marker that is not passive.
LUM_HOT void CLumFastForm::NoteHit(SLumFastStep* pMarker)
{
    // The depth's last marker passed stands for its mark.
    const SLumFastStep*& pMark = m_pClosedMark;
    bool fEnters = pMark->m_nLine != pMarker->m_nLine || pMarker->m_pAt <= pMark->m_pAt;
    pMark = pMarker;
    if (fEnters)
        Hit(pMarker);
}

// A hit of a marker that enters its line.
LUM_HOT void CLumFastForm::Hit(SLumFastStep* pMarker)
{
    // Listed before the count rises, which a failed growth must not leave unlisted.
    // Hits wrap around as the profiler's counts do, so a sum added at the end counts
    // what the hits one by one would have.
    if (pMarker->m_nHits == 0)
        List(pMarker);
    ++pMarker->m_nHits;
    m_pLastCounted = pMarker;
}

// A marker's first hit of the run puts it on the list.
LUM_HOT void CLumFastForm::List(SLumFastStep* pMarker)
{
    if (m_nCounted == m_aCounted.size())
        CountMore(pMarker);
    m_aCounted[m_nCounted++] = pMarker;
}

// A stop request ends a closed run at its next call or way back: the regular way then
// answers it.
LUM_HOT bool CLumFastForm::IsStopRequested(const CLumBasic& basic)
{
    return (basic.m_pBudget->m_nWatch.load(std::memory_order_relaxed) & CLumBasic::SLumRunBudget::STOP) != 0;
}

// At a way back, a debugger whose window starts to follow the lines (a pause asked
// for) ends the run too: a loop may not end by itself, while calls end at the limits
// of depth.
LUM_HOT bool CLumFastForm::MustLeave(const CLumBasic& basic) const
{
    return IsStopRequested(basic) || (m_pWatchedDebugger != nullptr && !m_pWatchedDebugger->OnlyCounts());
}

// A closed run from `site`, where that goes through: true where `body` did its work
// whole. False leaves everything as it was, for the regular way.
template <class Site, class Body> bool CLumFastForm::Closed(CLumBasic& basic, Site& site, Body&& body)
{
    CLumBasic::SLumRunBudget& budget = *basic.m_pBudget;
    unsigned nWatch = budget.m_nWatch.load(std::memory_order_relaxed);
    CLumBasicDebugger* pDebugger = basic.m_fDebugMode ? basic.m_pDebugger : nullptr;
    // A closed run makes no values: a budget of memory passed now is the regular way's.
    if (site.m_nClosedFailures >= MAX_CLOSED_FAILURES || site.m_nClosedWarmups >= MAX_CLOSED_WARMUPS ||
        basic.ModulsWatch() || (nWatch & CLumBasic::SLumRunBudget::STOP) != 0 ||
        ((nWatch & CLumBasic::SLumRunBudget::MEMORY) != 0 && budget.IsOverMemory()) ||
        (pDebugger != nullptr && !pDebugger->OnlyCounts()) || &basic.m_pQuelle->GetFastForm() != this)
        return false;
    // Lines counted as the markers' handler counts them, at the levels of calls the
    // regular way would stand in: one more for each call the run entered.
    m_fCounting = pDebugger != nullptr;
    m_pClosedMark = &s_cFresh;
    // Without a window nothing can make the debugger more than count while the run goes
    // on (breakpoints change only where a run stops): only a window is watched.
    m_pWatchedDebugger = pDebugger != nullptr && pDebugger->HasWindow() ? pDebugger : nullptr;
    if (m_nCounted != 0)
        DropHits(); // left by a profiler that failed to grow
    bool fCounted = (nWatch & CLumBasic::SLumRunBudget::LIMIT) != 0 && budget.m_nLimit != 0;
    const CLumFunctionStack& names = basic.m_cFunctionStack;
    const int* pDepths = CLumDepthGuard::GetDepths();
    // A statement's expression run whole may hold built-ins: the arguments of those are
    // expressions the regular way opens further in.
    if (pDepths[CLumDepthGuard::EXPRESSION] + 1 + NESTED_LEVELS >= CLumExpression::MAX_NESTING)
        return false;
    SClosedFrame caller{nullptr, names.GetCount(), names.GetScope(), pDepths[CLumDepthGuard::EXPRESSION], 0};
    m_pStore = basic.m_pVariables;
    m_nScope = caller.m_nScope;
    ++m_nClosedRun;
    // The undo list, the depth, the Ifs, the Fors and the levels open are empty here: a
    // run that ends whole closes all it opened, one that gives up empties them.
    m_fWarmUp = false;
    m_pClosedBasic = &basic;
    // Before the call and run limits of the regular way, which then reports them; the
    // nesting of expressions is followed call by call (ClosedEnter).
    m_nClosedDepthLimit = std::min(CLumBasic::MAX_CALL_DEPTH - basic.m_cCallStack.GetCount(),
                                   CLumBasic::MAX_NESTING - 1 - pDepths[CLumDepthGuard::RUN]);
    m_nStackFloor = CLumDepthGuard::GetStackFloor();
    // Generations are never shared, by stores nor tables: each stands for its owner too.
    if (m_cCheck.m_nStoreGeneration != m_pStore->GetGeneration() ||
        m_cCheck.m_nTableGeneration != basic.m_pFunctions->GetGeneration() || m_cCheck.m_pBasic != &basic ||
        m_cCheck.m_nSourceSerial != basic.m_nSourceSerial || m_cCheck.m_pDebugger != basic.m_pDebugger)
    {
        m_cCheck = SLumClosedCheck{m_pStore->GetGeneration(), basic.m_pFunctions->GetGeneration(), &basic,
                                   basic.m_nSourceSerial, basic.m_pDebugger};
        ++m_nCheckEpoch;
    }
    m_nClosedIfLimit = CLumBasic::MAX_OPEN_COMMANDS - basic.m_cCmdStack.GetCount();
    m_nClosedSteps = 0;
    m_nClosedStepLimit = fCounted ? budget.m_nLimit - std::min(budget.m_nCount, budget.m_nLimit) : ~0ul;
    long nLine = basic.m_nLine;
    bool fDone = false;
    try
    {
        fDone = body(caller);
    }
    catch (...)
    {
        // Out of memory for the undo list, or a core of a built-in that failed (a
        // template Str$ refuses): the regular way reports it.
        m_fWarmUp = false;
    }
    m_nScope = caller.m_nScope;
    if (fDone && m_nClosedSteps <= m_nClosedStepLimit)
    {
        m_nUndo = 0;
        m_nMadeElements = 0;
        // The statements it ran count as the regular way counts them.
        if (fCounted)
            budget.m_nCount += m_nClosedSteps;
        if (m_fCounting)
            CountHits(basic);
        if (__builtin_expect(m_fTextsKept, 0))
            DropKeptTexts();
        site.m_nClosedWarmups = 0;
        // Markers passed: the calls returned, as the regular way's would.
        if (basic.m_nLine != nLine)
            basic.NoteReturn(nLine == basic.m_nReturnedLine ? basic.m_nReturnedTo : nLine);
        return true;
    }
    Undo();
    if (m_fCounting)
        DropHits();
    m_aClosedFors.clear();
    m_nClosedFors = 0;
    m_nClosedDepth = 0;
    m_nClosedIfs = 0;
    m_nClosedNested = 0;
    basic.m_nLine = nLine;
    if (m_fWarmUp)
        ++site.m_nClosedWarmups;
    else
        ++site.m_nClosedFailures;
    return false;
}

// The call stands in an expression that the regular way evaluates now.
// A text result is left in m_cClosedText.
bool CLumFastForm::RunClosed(CLumBasic& basic, SLumFastExpr& expr, SLumNumber& out)
{
    if (Closed(basic, expr, [&](const SClosedFrame& caller) {
            // The regular way evaluates the call now: its level is the one open here.
            SClosedFrame at = caller;
            at.m_nLevel -= 1 + expr.m_nArgDepth;
            return ClosedCall(basic, expr, at, out, &m_cClosedText);
        }))
        return true;
    if (m_cClosedText.IsString())
    {
        CLumsVarValue none;
        m_cClosedText.Swap(none);
    }
    return false;
}

bool CLumFastForm::RunClosed(CLumBasic& basic, SLumFastStep& step)
{
    return Closed(basic, step,
                  [&](const SClosedFrame& caller) { return ClosedSub<true>(basic, step, caller); });
}

// A statement's expression that calls functions of the program, computed whole.
bool CLumFastForm::RunClosed(CLumBasic& basic, SLumFastStep& step, SLumFastExpr& expr, SLumNumber& out)
{
    return TryClosed(step, CLumDepthGuard::GetDepth(CLumDepthGuard::RUN), [&] {
        return Closed(basic, step,
                      [&](const SClosedFrame& caller) { return ClosedValue(basic, expr, caller, out); });
    });
}

// A statement's expression for a text variable, computed whole, as a text.
bool CLumFastForm::RunClosed(CLumBasic& basic, SLumFastStep& step, CLumsVarValue& out)
{
    return TryClosed(step, CLumDepthGuard::GetDepth(CLumDepthGuard::RUN), [&] {
        return Closed(basic, step, [&](const SClosedFrame& caller) {
            return ClosedAny(*step.m_pExpr, &caller, out) && AsText(out);
        });
    });
}

// A loop's remaining passes, from its Next in the run loop that found another pass due,
// in the frame of the procedure of the stacks: the loop's code (made from the Next, see
// LumFastSlots.cpp) runs with the loop's record kept open on the run's list of Fors, the
// end and the step as the record holds them, until that Next finds the loop ended. Then
// the record is dropped as the Next drops it, and the run loop goes on behind the Next.
// A run that gives up leaves everything as the Next left it, and the regular way runs the
// next pass; the loop's record keeps count, so that a loop whose closed run gives up for
// good, or keeps warming up, runs its remaining passes the regular way.
CLumFastForm::EOutcome CLumFastForm::RunClosedLoop(CLumBasic& basic, SLumFastStep& next, CmdData& loop)
{
    // Where lines are counted, the marks of the running level are those the run loop
    // holds while it adds up hits (a marker passed since the level began). Without a
    // procedure on the stacks no scope names the slots. The first pass's way back is
    // linked only once this Next returns.
    // With a debugger's window open a pause or a breakpoint ends a closed run and takes
    // back all its passes: it would stop at this Next, not where the loop spends its
    // time, so the loop keeps the regular way.
    if (basic.m_cFunctionStack.IsEmpty() || next.m_fNoSlots ||
        next.m_nClosedFailures >= MAX_CLOSED_FAILURES || next.m_nClosedWarmups >= MAX_CLOSED_WARMUPS ||
        (basic.m_fDebugMode && basic.m_pDebugger != nullptr && basic.m_pDebugger->HasWindow()))
    {
        loop.m_nClosedTries = MAX_LOOP_TRIES;
        return JUMP;
    }
    if (next.m_pTaken == nullptr ||
        (basic.m_fDebugMode && basic.m_pDebugger != nullptr && m_pAddingUpFor == nullptr))
        return JUMP;
    // Read again as the Next read them (apart from it, which the run loop inlines).
    CLumsVarValue* pCounter = Cached(loop.m_cCounter);
    if (pCounter == nullptr)
        return JUMP;
    CLumsVarValue& counter = *pCounter;
    SLumNumber end, step;
    LumFastNumber(*loop.m_pEndValue, end);
    LumFastNumber(*loop.m_pStepValue, step);
    uint16_t nFailures = next.m_nClosedFailures;
    uint16_t nWarmups = next.m_nClosedWarmups;
    bool fDone = Closed(basic, next, [&](const SClosedFrame& frame) {
        // The counter the Next counts, found where the record found it.
        next.m_cTarget = loop.m_cCounter;
        // A procedure's scope differs where it runs alone and where it runs called: the
        // slots are found again for the scope the loop runs in now.
        if (next.m_pSlots != nullptr && next.m_pSlots->m_nScope != frame.m_nScope)
            next.m_pSlots->m_nEpoch = 0;
        SLumSlotCode* pCode = Slots(next, frame.m_nScope);
        if (pCode != nullptr && pCode->m_pCounter->m_pValue != &counter)
        {
            pCode->m_nEpoch = 0;
            pCode = Slots(next, frame.m_nScope);
        }
        if (pCode == nullptr || pCode->m_pCounter->m_pValue != &counter)
            return next.m_fNoSlots ? GiveUp() : WarmUp();
        if (m_fCounting)
            m_pClosedMark = m_pMarkAt;
        // The counter is noted for the undo before its Next counts, as a For's op notes
        // it when it stores the start.
        SLumSlot& counterSlot = *pCode->m_pCounter;
        if (counterSlot.m_nKeptRun != m_nClosedRun)
        {
            if (!NoteUndo(counter))
                return false;
            counterSlot.m_nKeptRun = m_nClosedRun;
        }
        SClosedFor open{&counter, end, step, 0};
        open.m_fLongs = !end.m_fDouble && !step.m_fDouble;
        m_aClosedFors.push_back(open);
        ++m_nClosedFors;
        SLumFastStep* pEnd = SlotBody(basic, *pCode, frame);
        m_nClosedIfs = 0;
        return pEnd != nullptr;
    });
    if (fDone)
    {
        if (m_fCounting)
            m_pMarkAt = m_pClosedMark;
        // The last marker passed led to the Next (LoopEndsAtMarkers).
        basic.NoteMarker(basic.m_nLine);
        // The last increment stays in the store.
        delete basic.m_cCmdStack.Pop();
        return GO_ON;
    }
    if (next.m_nClosedFailures != nFailures)
        loop.m_nClosedTries = MAX_LOOP_TRIES;
    else if (next.m_nClosedWarmups != nWarmups)
        ++loop.m_nClosedTries;
    return JUMP;
}

// The variables written, back to their values before the run, the oldest last.
void CLumFastForm::Undo()
{
    for (size_t i = m_nUndo; i-- > 0;)
    {
        const SUndo& undo = m_aUndo[i];
        LumFastStore(*undo.m_pValue, undo.m_cNumber);
    }
    m_nUndo = 0;
    if (__builtin_expect(m_fTextsKept, 0))
        UndoTexts();
    // After the values: the list may hold an element made and written again.
    for (; m_nMadeElements != 0; --m_nMadeElements)
        m_pStore->TakeBackNewestElement();
}

void CLumFastForm::UndoTexts()
{
    for (size_t i = m_aTextUndo.size(); i-- > 0;)
        m_aTextUndo[i].m_pValue->Swap(m_aTextUndo[i].m_cText);
    DropKeptTexts();
}

// The old texts, once the run ended whole, freed as the regular way freed them.
void CLumFastForm::DropKeptTexts()
{
    m_aTextUndo.clear();
    m_fTextsKept = false;
}

// Whether the run may make texts: not while a memory budget is watched, which counts
// the room of the old texts kept for the undo where the regular way has freed them.
bool CLumFastForm::TextsAllowed() const
{
    return (m_pClosedBasic->m_pBudget->m_nWatch.load(std::memory_order_relaxed) &
            CLumBasic::SLumRunBudget::MEMORY) == 0;
}

// A text into a text variable, its value before the run's first write to it noted:
// taken over, as the new one takes its place. A variable that holds no text, which a
// text variable found before never does, is left to the regular way.
bool CLumFastForm::KeepText(CLumsVarValue& target, SLumKept& kept, CLumsVarValue& value)
{
    if (kept.m_nRun == m_nClosedRun && kept.m_pValue == &target)
    {
        target.Swap(value); // a text since, as the run writes nothing else there
        return true;
    }
    if (!target.IsString() || m_aTextUndo.size() >= MAX_UNDO)
        return GiveUp();
    m_aTextUndo.emplace_back();
    m_fTextsKept = true;
    STextUndo& undo = m_aTextUndo.back();
    undo.m_pValue = &target;
    target.Swap(value);
    undo.m_cText.Swap(value);
    kept = SLumKept{m_nClosedRun, &target};
    return true;
}

// Notes a variable's value before a closed run writes a number to it for the first
// time. A text variable goes to a list of its own (KeepText); an empty value, which no
// statement stores and a variable found before never holds, is left to the regular way.
LUM_HOT bool CLumFastForm::Keep(CLumsVarValue& target, SLumKept& kept)
{
    if (kept.m_nRun == m_nClosedRun && kept.m_pValue == &target)
        return true; // a number since, as the run writes nothing else
    if (!NoteUndo(target))
        return false;
    kept = SLumKept{m_nClosedRun, &target};
    return true;
}

// The variable's number into the undo list.
LUM_HOT bool CLumFastForm::NoteUndo(CLumsVarValue& target)
{
    if (m_nUndo == m_nUndoRoom && !KeepMore())
        return GiveUp();
    SUndo& undo = m_aUndo[m_nUndo];
    if (!LumFastNumberOnly(target, undo.m_cNumber))
        return GiveUp();
    undo.m_pValue = &target;
    ++m_nUndo;
    return true;
}

// More room for the undo list, up to its bound.
bool CLumFastForm::KeepMore()
{
    if (m_nUndo >= MAX_UNDO)
        return false;
    m_aUndo.resize(std::max<size_t>(16, m_nUndo * 2));
    m_nUndoRoom = m_aUndo.size();
    return true;
}

// The procedure a function's name gives, as UserCall finds it, and whether a debugger
// would follow the call into another source, which is for the regular way.
const CallInfo* CLumFastForm::ClosedLookup(CLumBasic& basic, SLumFastExpr& expr, bool& fOtherSource)
{
    const CallInfo* pInfo = Callee(basic, expr);
    fOtherSource = pInfo != nullptr && !SameSource(basic, expr, *pInfo);
    return pInfo;
}

// A Sub's, as Call finds it.
const CallInfo* CLumFastForm::ClosedLookup(CLumBasic& basic, SLumFastStep& step, bool& fOtherSource)
{
    const CallInfo* pInfo = Callee(basic, step);
    fOtherSource = pInfo != nullptr && basic.m_pDebugger != nullptr && !step.m_fSameSource;
    return pInfo;
}

// A debugger follows a call into another source: that is for the regular way.
bool CLumFastForm::SameSource(CLumBasic& basic, SLumFastExpr& expr, const CallInfo& info)
{
    if (basic.m_pDebugger == nullptr)
        return true;
    if (expr.m_pSourceOf != &basic || expr.m_nSourceSerial != basic.m_nSourceSerial)
    {
        expr.m_fSameSource = info.m_strSource == basic.m_strSource;
        expr.m_pSourceOf = &basic;
        expr.m_nSourceSerial = basic.m_nSourceSerial;
    }
    return expr.m_fSameSource;
}

// Whether a call may run closed: the procedure found, with a head that the form has
// entered before, parameters for every argument, and the parameters' locals found.
// Nothing of this changes while the store, the procedure table, the source and the
// debugger stay as they were: looked at once for as long.
template <class Site>
bool CLumFastForm::ClosedCallee(CLumBasic& basic, Site& site, const std::vector<SLumFastExpr*>& args)
{
    bool fOtherSource = false;
    const CallInfo* pInfo = ClosedLookup(basic, site, fOtherSource);
    if (pInfo == nullptr || (pInfo->m_pImage && pInfo->m_pImage->m_pBegin == nullptr) || fOtherSource)
        return GiveUp();
    const SLumFastStep* pHead = site.m_pCallee;
    if (pHead == nullptr || pHead->m_pAt != pInfo->m_pCode || pHead->m_eKind != SLumFastStep::SUB ||
        pHead->m_pNext == nullptr || pHead->m_nScope == 0)
        return WarmUp();
    if (pHead->m_aParams.size() != args.size() || args.size() > MAX_CLOSED_ARGS)
        return GiveUp();
    site.m_fTextParams = false;
    for (const SLumFastStep::SParam& param : pHead->m_aParams)
    {
        site.m_fTextParams = site.m_fTextParams || param.m_cType == '$';
        const CLumNameCache& cache = param.m_cCache;
        if (cache.m_pStore != m_pStore || cache.m_nGeneration != m_pStore->GetGeneration())
            return WarmUp();
    }
    site.m_nCheckEpoch = m_nCheckEpoch;
    return true;
}

// A call: the arguments computed left to right and bound to the parameters' locals,
// the body run to its End, which it gives, with the callee's scope.
// The body runs at `nLevel`, the expressions the regular way holds open at the call.
template <class Site, class Numbers>
SLumFastStep* CLumFastForm::ClosedEnter(CLumBasic& basic, Site& site, const std::vector<SLumFastExpr*>& args,
                                        const SClosedFrame& caller, int nLevel, uint64_t& nScope,
                                        Numbers&& numbers)
{
    return ClosedEntered(basic, site, args, caller, nLevel, nScope, numbers);
}

template <class Site, class Numbers>
LUM_HOT SLumFastStep*
CLumFastForm::ClosedEntered(CLumBasic& basic, Site& site, const std::vector<SLumFastExpr*>& args,
                            const SClosedFrame& caller, int nLevel, uint64_t& nScope, Numbers&& numbers)
{
    if (site.m_nCheckEpoch != m_nCheckEpoch && !ClosedCallee(basic, site, args))
        return nullptr;
    // Each argument, and each statement of the body, is an expression of its own one
    // level in; a body that opens none gives up where it need not, which costs nothing.
    if (m_nClosedDepth + 1 >= m_nClosedDepthLimit || nLevel + NESTED_LEVELS >= CLumExpression::MAX_NESTING ||
        reinterpret_cast<uintptr_t>(__builtin_frame_address(0)) < m_nStackFloor || IsStopRequested(basic))
        return GiveUp(), nullptr;
    ++m_nClosedSteps; // the head
    // As many parameters as arguments (ClosedCallee).
    SLumFastStep& head = *site.m_pCallee;
    if (__builtin_expect(site.m_fTextParams, 0))
    {
        if (!ClosedBindTexts(basic, head, args, caller))
            return nullptr;
    }
    else
    {
        // All arguments are computed before any is bound: one may read a parameter's
        // local.
        SLumNumber aArgs[MAX_CLOSED_ARGS];
        if (!numbers(aArgs))
            return nullptr;
        SLumFastStep::SParam* pParam = head.m_aParams.data();
        SLumFastStep::SParam* pEnd = pParam + head.m_aParams.size();
        // One parameter, most often, or two, without the loop's bookkeeping.
        if (pEnd - pParam == 1)
        {
            if (!Bind(*pParam, aArgs[0]))
                return nullptr;
        }
        else if (pEnd - pParam == 2)
        {
            if (!Bind(pParam[0], aArgs[0]) || !Bind(pParam[1], aArgs[1]))
                return nullptr;
        }
        else
            for (SLumNumber* pArg = aArgs; pParam != pEnd; ++pParam)
                if (!Bind(*pParam, *pArg++))
                    return nullptr;
    }
    return ClosedEnteredBody(basic, head, caller, nLevel, nScope);
}

// A number argument bound to its parameter's local, noted for the undo first.
LUM_HOT bool CLumFastForm::Bind(SLumFastStep::SParam& param, const SLumNumber& n)
{
    CLumsVarValue& local = *param.m_cCache.m_pValue;
    if (!Keep(local, param.m_cKept))
        return false;
    LumFastStore(local, n, param.m_cType);
    return true;
}

// The body of a call whose arguments are bound.
LUM_HOT SLumFastStep* CLumFastForm::ClosedEnteredBody(CLumBasic& basic, SLumFastStep& head,
                                                      const SClosedFrame& caller, int nLevel,
                                                      uint64_t& nScope)
{
    // The callee's names resolve in its scope, with more than one procedure running.
    SClosedFrame frame{&head, caller.m_nNames + 1, (head.m_nScope << 1) | 1, nLevel, m_nClosedIfs};
    nScope = frame.m_nScope;
    m_nScope = frame.m_nScope;
    ++m_nClosedDepth;
    // A procedure entered at the next depth enters its first line afresh, as the regular
    // way's call drops the marks of the levels below: its mark is a marker of no line.
    // The caller's mark is its own again behind the call.
    const SLumFastStep* pCallerMark = m_pClosedMark;
    if (__builtin_expect(m_fCounting, 0))
        m_pClosedMark = &s_cFresh;
    SLumSlotCode* pCode = Slots(head, frame.m_nScope);
    SLumFastStep* pEnd = pCode != nullptr ? SlotBody(basic, *pCode, frame) : ClosedBody(basic, head, frame);
    --m_nClosedDepth;
    m_pClosedMark = pCallerMark;
    m_nScope = caller.m_nScope;
    return pEnd;
}

// A function's call, with its result. The regular way calls it inside the expression
// of its statement and those of the arguments around it.
LUM_HOT bool CLumFastForm::ClosedCall(CLumBasic& basic, SLumFastExpr& expr, const SClosedFrame& caller,
                                      SLumNumber& out, CLumsVarValue* pText)
{
    return ClosedCallOf(basic, expr, caller, out, pText, [&](SLumNumber* pOut) {
        return ClosedArguments(basic, expr.m_apIndices, caller, pOut);
    });
}

template <bool fEntered, class Numbers>
LUM_HOT bool CLumFastForm::ClosedCallOf(CLumBasic& basic, SLumFastExpr& expr, const SClosedFrame& caller,
                                        SLumNumber& out, CLumsVarValue* pText, Numbers&& numbers)
{
    uint64_t nScope = 0;
    int nLevel = caller.m_nLevel + 1 + expr.m_nArgDepth;
    SLumFastStep* pEnd = fEntered
                             ? ClosedEntered(basic, expr, expr.m_apIndices, caller, nLevel, nScope, numbers)
                             : ClosedEnter(basic, expr, expr.m_apIndices, caller, nLevel, nScope, numbers);
    if (pEnd == nullptr)
        return false;
    if (pEnd->m_wLoopKind != LBT_FUNCTION)
        return GiveUp();
    return ClosedResult(*pEnd, nScope, caller, out, pText);
}

// A Sub's call: it returns behind the call statement.
template <bool fEntered>
LUM_HOT bool CLumFastForm::ClosedSub(CLumBasic& basic, SLumFastStep& step, const SClosedFrame& caller)
{
    return ClosedSubOf<fEntered>(basic, step, caller, [&](SLumNumber* pOut) LUM_HOT_LAMBDA {
        return ClosedArguments(basic, step.m_apArgs, caller, pOut);
    });
}

template <bool fEntered, class Numbers>
LUM_HOT bool CLumFastForm::ClosedSubOf(CLumBasic& basic, SLumFastStep& step, const SClosedFrame& caller,
                                       Numbers&& numbers)
{
    uint64_t nScope = 0;
    SLumFastStep* pEnd =
        fEntered ? ClosedEntered(basic, step, step.m_apArgs, caller, caller.m_nLevel, nScope, numbers)
                 : ClosedEnter(basic, step, step.m_apArgs, caller, caller.m_nLevel, nScope, numbers);
    return pEnd != nullptr && (pEnd->m_wLoopKind == LBT_SUB || GiveUp());
}

// The arguments for parameters of numbers, left to right.
LUM_HOT bool CLumFastForm::ClosedArguments(CLumBasic& basic, const std::vector<SLumFastExpr*>& args,
                                           const SClosedFrame& caller, SLumNumber* pOut)
{
    for (SLumFastExpr* pExpr : args)
        if (!ClosedArgument(basic, *pExpr, caller, *pOut++))
            return false;
    return true;
}

// An argument as a direct call or PushParams computes it, for a number parameter.
LUM_HOT bool CLumFastForm::ClosedArgument(CLumBasic& basic, SLumFastExpr& arg, const SClosedFrame& caller,
                                          SLumNumber& out)
{
    // An empty variable reads as 0 for a number parameter, as in a direct call.
    if (!arg.m_fPure)
        return ClosedValue(basic, arg, caller, out);
    bool fDone;
    if (arg.m_fNumericValue && QuickOnLong(arg, out, fDone))
        return fDone;
    // A variable and a constant, the most frequent arguments, without a detour.
    if (arg.m_eOp == SLumFastExpr::VARIABLE)
    {
        const CLumsVarValue* pValue = Cached(arg.m_cCache);
        if (pValue == nullptr)
            return WarmUp();
        return LumFastNumber(*pValue, out) || GiveUp();
    }
    if (arg.m_eOp == SLumFastExpr::CONSTANT)
    {
        out = arg.m_cNumber;
        return arg.m_fNumber || GiveUp();
    }
    return ClosedPure(arg, true, out);
}

// Arguments for a procedure with text parameters, all computed before any is bound, as
// PushParams computes them; a text parameter takes a copy of its argument's text as
// Bind makes it. An argument that is no text for a text parameter, which the head's
// handler converts, is for the regular way.
bool CLumFastForm::ClosedBindTexts(CLumBasic& basic, SLumFastStep& head,
                                   const std::vector<SLumFastExpr*>& args, const SClosedFrame& caller)
{
    if (!TextsAllowed())
        return GiveUp();
    SLumNumber aNumbers[MAX_CLOSED_ARGS];
    CLumsVarValue aTexts[MAX_CLOSED_ARGS];
    for (size_t i = 0; i < args.size(); ++i)
    {
        if (head.m_aParams[i].m_cType != '$')
        {
            if (!ClosedArgument(basic, *args[i], caller, aNumbers[i]))
                return false;
        }
        else if (!ClosedAny(*args[i], &caller, aTexts[i]))
            return false;
        else if (!aTexts[i].IsString())
            return GiveUp();
    }
    for (size_t i = 0; i < args.size(); ++i)
    {
        SLumFastStep::SParam& param = head.m_aParams[i];
        CLumsVarValue& local = *param.m_cCache.m_pValue;
        if (param.m_cType == '$')
        {
            CLumsVarValue text;
            text = aTexts[i].GetText();
            if (!KeepText(local, param.m_cKept, text))
                return false;
            continue;
        }
        if (!Keep(local, param.m_cKept))
            return false;
        LumFastStore(local, aNumbers[i], param.m_cType);
    }
    return true;
}

// A part that only computes, as the quick way of EvalPureFramed or a direct call's
// argument computes it: a number, a constant, or a variable holding a number (or, where
// `fEmptyIsZero`, nothing yet).
LUM_HOT bool CLumFastForm::ClosedPure(SLumFastExpr& expr, bool fEmptyIsZero, SLumNumber& out)
{
    if (expr.m_fNumericValue)
        return ClosedNumber(expr, out);
    if (expr.m_eOp == SLumFastExpr::CONSTANT)
    {
        out = expr.m_cNumber;
        return expr.m_fNumber || GiveUp();
    }
    if (expr.m_eOp == SLumFastExpr::OTHER)
        return ClosedBuiltin(expr, out);
    if (expr.m_eOp == SLumFastExpr::ELEMENT)
        return ClosedElement(expr, out);
    if (expr.m_eOp == SLumFastExpr::OPERATOR)
        return ClosedTextNumber(expr, nullptr, out); // texts compared
    if (expr.m_eOp != SLumFastExpr::VARIABLE)
        return GiveUp();
    const CLumsVarValue* pValue = Cached(expr.m_cCache);
    if (pValue == nullptr)
        return WarmUp();
    return ((fEmptyIsZero || pValue->IsNumber()) && LumFastNumber(*pValue, out)) || GiveUp();
}

// The compiled form of a body, as ClosedBody runs the steps it was made from: the same
// statements in the same order, the same counts and checks, each variable read from its
// slot, each link past its markers known. The Ifs and Fors open before each op are
// known from the code (SLumSlotOp::m_nOpen): Else, End If, Next and End that the walker
// would find out of their order were made into ops that give up, and the room for them
// under the limit of open commands was looked at on entry (Slots). The run's count of
// them is set from the code where a call or the walker could read it, and put back at
// the End.
LUM_HOT SLumFastStep* CLumFastForm::SlotBody(CLumBasic& basic, SLumSlotCode& code, const SClosedFrame& frame)
{
    unsigned long nSteps = 0;
    auto Count = [&]() LUM_HOT_LAMBDA {
        m_nClosedSteps += nSteps;
        nSteps = 0;
        return m_nClosedSteps <= m_nClosedStepLimit;
    };
    const SLumSlotEdge* pEdge = &code.m_cEntry;
    for (;;)
    {
        if (pEdge->m_nMarkers != 0)
        {
            basic.m_nLine = pEdge->m_nLine;
            if (__builtin_expect(m_fCounting, 0))
            {
                // Passive markers note nothing: one alone among them at once.
                if (pEdge->m_nActive == 1)
                    NoteHit(pEdge->m_pCounted);
                else
                    NoteHitsOf(code, *pEdge);
            }
        }
        nSteps += pEdge->m_nSteps;
        const SLumSlotOp& op = *pEdge->m_pTo;
        // Each op picks its link itself: no flag of the way taken outlives it.
        bool fTaken;
        switch (op.m_eKind)
        {
        case SLumSlotOp::ASSIGN:
        {
            SLumNumber n;
            if (!SlotQuick(*op.m_pValue, frame, n) || !SlotStore(*op.m_pTarget, n, op.m_cType))
                return nullptr;
            pEdge = &op.m_cNext;
            continue;
        }
        case SLumSlotOp::ASSIGN_ELEMENT:
            m_nClosedIfs = frame.m_nOpenBase + op.m_nOpen;
            if (!SlotAssignElement(basic, op, frame))
                return nullptr;
            pEdge = &op.m_cNext;
            continue;
        case SLumSlotOp::ASSIGN_ADD:
            if (!SlotArith<LBT_PLUS>(op, frame))
                return nullptr;
            pEdge = &op.m_cNext;
            continue;
        case SLumSlotOp::ASSIGN_SUB:
            if (!SlotArith<LBT_MINUS>(op, frame))
                return nullptr;
            pEdge = &op.m_cNext;
            continue;
        case SLumSlotOp::ASSIGN_MUL:
            if (!SlotArith<LBT_MUL>(op, frame))
                return nullptr;
            pEdge = &op.m_cNext;
            continue;
        case SLumSlotOp::WALK:
            m_nClosedIfs = frame.m_nOpenBase + op.m_nOpen;
            if (!(op.m_pFastStep->m_eKind == SLumFastStep::ASSIGN
                      ? ClosedAssign(basic, *op.m_pFastStep, frame)
                      : ClosedAssignElement(basic, *op.m_pFastStep, frame)))
                return nullptr;
            pEdge = &op.m_cNext;
            continue;
        case SLumSlotOp::IF:
        {
            bool fTrue;
            if (!SlotTruth(*op.m_pValue, frame, fTrue))
                return nullptr;
            pEdge = fTrue ? &op.m_cNext : &op.m_cTaken;
            continue;
        }
        case SLumSlotOp::IF_EQ:
            if (!SlotCompare<LBT_EQ>(op, frame, fTaken))
                return nullptr;
            break;
        case SLumSlotOp::IF_NE:
            if (!SlotCompare<LBT_NE>(op, frame, fTaken))
                return nullptr;
            break;
        case SLumSlotOp::IF_LT:
            if (!SlotCompare<LBT_LT>(op, frame, fTaken))
                return nullptr;
            break;
        case SLumSlotOp::IF_LE:
            if (!SlotCompare<LBT_LE>(op, frame, fTaken))
                return nullptr;
            break;
        case SLumSlotOp::IF_GT:
            if (!SlotCompare<LBT_GT>(op, frame, fTaken))
                return nullptr;
            break;
        case SLumSlotOp::IF_GE:
            if (!SlotCompare<LBT_GE>(op, frame, fTaken))
                return nullptr;
            break;
        case SLumSlotOp::JUMP:
        case SLumSlotOp::DO:
            pEdge = &op.m_cNext;
            continue;
        case SLumSlotOp::WHILE:
        {
            bool fTrue;
            if (!SlotTruth(*op.m_pValue, frame, fTrue))
                return nullptr;
            pEdge = fTrue ? &op.m_cNext : &op.m_cTaken;
            continue;
        }
        case SLumSlotOp::WEND:
            if (!Count() || MustLeave(basic))
                return GiveUp(), nullptr;
            pEdge = &op.m_cTaken;
            continue;
        case SLumSlotOp::LOOP:
            if (!SlotTruth(*op.m_pValue, frame, fTaken))
                return nullptr;
            fTaken = fTaken == (op.m_pFastStep->m_wLoopKind == LBT_WHILE);
            if (fTaken && (!Count() || MustLeave(basic)))
                return GiveUp(), nullptr;
            break;
        case SLumSlotOp::FOR:
            if (!SlotFor(op, frame))
                return nullptr;
            pEdge = &op.m_cNext;
            continue;
        case SLumSlotOp::NEXT:
        {
            int nPass = SlotNext(op);
            if (nPass == 0)
            {
                pEdge = &op.m_cNext;
                continue;
            }
            if (nPass < 0 || !Count() || MustLeave(basic))
                return GiveUp(), nullptr;
            pEdge = &op.m_cTaken;
            continue;
        }
        case SLumSlotOp::CALL:
            m_nClosedIfs = frame.m_nOpenBase + op.m_nOpen;
            if (!ClosedSubOf(basic, *op.m_pFastStep, frame, [&](SLumNumber* pOut) LUM_HOT_LAMBDA {
                    return SlotNumbers(op.m_ppArgs, op.m_nArgs, frame, pOut);
                }))
                return nullptr;
            pEdge = &op.m_cNext;
            continue;
        case SLumSlotOp::END:
            m_nClosedIfs = frame.m_nOpenBase;
            return Count() ? op.m_pFastStep : (GiveUp(), nullptr);
        case SLumSlotOp::MISSING:
            // Made again at the next entry, where the regular way made the link since.
            code.m_fRemake = true;
            code.m_nEpoch = 0;
            return WarmUp(), nullptr;
        case SLumSlotOp::GIVE_UP:
        case SLumSlotOp::ELSE:
        case SLumSlotOp::ENDIF:
            return GiveUp(), nullptr;
        default:
            // Every kind has its case: no test of the range at each op.
            __builtin_unreachable();
        }
        pEdge = fTaken ? &op.m_cTaken : &op.m_cNext;
    }
}

// A leaf's number where it is a constant or a variable holding a number, at once, by
// tests of the kinds in the order they come most often; anything else as SlotNumber
// computes it.
LUM_HOT bool CLumFastForm::SlotLeaf(const SLumSlotNode& node, const SClosedFrame& frame, SLumNumber& out)
{
    if (node.m_eKind == SLumSlotNode::SLOT_ANY || node.m_eKind == SLumSlotNode::SLOT_NUMBER)
    {
        const CLumsVarValue& value = *node.m_pSlot->m_pValue;
        if (value.GetType() == CLumsVarValue::VT_DOUBLE)
        {
            out.m_fDouble = true;
            out.m_dDouble = value.DoubleValue();
            return true;
        }
        if (value.GetType() == CLumsVarValue::VT_LONG)
        {
            out.m_fDouble = false;
            out.m_nLong = value.LongValue();
            return true;
        }
    }
    else if (node.m_eKind == SLumSlotNode::CONSTANT)
    {
        out = node.m_cNumber;
        return true;
    }
    return SlotNumber(node, frame, out);
}

// As SlotLeaf, and at once too a long variable and a constant long, an operator of two
// leaves, a call, an element and a built-in.
LUM_HOT bool CLumFastForm::SlotOperand(const SLumSlotNode& node, const SClosedFrame& frame, SLumNumber& out)
{
    if (node.m_eKind == SLumSlotNode::OPERATOR_LONG)
    {
        const CLumsVarValue& value = *node.m_pLeft->m_pSlot->m_pValue;
        if (value.GetType() != CLumsVarValue::VT_LONG)
            return SlotNumber(node, frame, out);
        return LumFastOperateLongs(node.m_wToken, value.LongValue(), node.m_pRight->m_cNumber.m_nLong, out) ||
               GiveUp();
    }
    if (node.m_eKind == SLumSlotNode::OPERATOR_DOUBLE)
    {
        // A double whichever number the variable holds, as LumFastOperate computes a
        // number and a double.
        const CLumsVarValue& value = *node.m_pLeft->m_pSlot->m_pValue;
        double a;
        if (value.GetType() == CLumsVarValue::VT_DOUBLE)
            a = value.DoubleValue();
        else if (value.GetType() == CLumsVarValue::VT_LONG)
            a = value.LongValue();
        else
            return SlotNumber(node, frame, out);
        double b = node.m_pRight->m_cNumber.m_dDouble;
        LumFastSetDouble(out, node.m_wToken == LBT_PLUS ? a + b : node.m_wToken == LBT_MINUS ? a - b : a * b);
        return true;
    }
    if (node.m_eKind == SLumSlotNode::OPERATOR)
    {
        // Two variables holding doubles (untyped parameters and locals most often) added,
        // taken apart or multiplied at once, as LumFastOperate computes two doubles.
        static_assert(SLumSlotNode::SLOT_NUMBER == SLumSlotNode::SLOT_ANY + 1,
                      "the variables' kinds are neighbours");
        const SLumSlotNode& left = *node.m_pLeft;
        const SLumSlotNode& right = *node.m_pRight;
        if (static_cast<unsigned>(left.m_eKind - SLumSlotNode::SLOT_ANY) <= 1 &&
            static_cast<unsigned>(right.m_eKind - SLumSlotNode::SLOT_ANY) <= 1)
        {
            const CLumsVarValue& l = *left.m_pSlot->m_pValue;
            const CLumsVarValue& r = *right.m_pSlot->m_pValue;
            if (l.GetType() == CLumsVarValue::VT_DOUBLE && r.GetType() == CLumsVarValue::VT_DOUBLE)
            {
                double a = l.DoubleValue(), b = r.DoubleValue();
                switch (node.m_wToken)
                {
                case LBT_PLUS:
                    LumFastSetDouble(out, a + b);
                    return true;
                case LBT_MINUS:
                    LumFastSetDouble(out, a - b);
                    return true;
                case LBT_MUL:
                    LumFastSetDouble(out, a * b);
                    return true;
                default:
                    break;
                }
            }
        }
        SLumNumber r;
        return SlotLeaf(left, frame, out) && SlotLeaf(right, frame, r) &&
               (LumFastOperate(node.m_wToken, out, r, out) || GiveUp());
    }
    if (node.m_eKind == SLumSlotNode::CALL)
        return SlotCall(node, frame, out);
    if (node.m_eKind == SLumSlotNode::ELEMENT)
        return SlotElement(node, out);
    if (node.m_eKind == SLumSlotNode::WALK_BUILTIN)
        return ClosedBuiltin(*node.m_pExpr, out);
    return SlotLeaf(node, frame, out);
}

// As SlotOperand, and an operator of two such operands at once: a statement's whole
// expression, most often.
LUM_HOT bool CLumFastForm::SlotQuick(const SLumSlotNode& node, const SClosedFrame& frame, SLumNumber& out)
{
    if (node.m_eKind != SLumSlotNode::OPERATOR)
        return SlotOperand(node, frame, out);
    // A constant on the right, most often, read where it stands.
    SLumNumber r;
    const SLumSlotNode& right = *node.m_pRight;
    if (!SlotOperand(*node.m_pLeft, frame, out))
        return false;
    if (right.m_eKind == SLumSlotNode::CONSTANT)
        r = right.m_cNumber;
    else if (!SlotOperand(right, frame, r))
        return false;
    if (!out.m_fDouble && !r.m_fDouble)
        return LumFastOperateLongs(node.m_wToken, out.m_nLong, r.m_nLong, out) || GiveUp();
    return LumFastOperate(node.m_wToken, out, r, out) || GiveUp();
}

LUM_HOT bool CLumFastForm::SlotTruth(const SLumSlotNode& node, const SClosedFrame& frame, bool& fTrue)
{
    SLumNumber n;
    // A long variable against a long constant, the most frequent condition, apart from
    // the number a call may give back.
    if (node.m_eKind == SLumSlotNode::OPERATOR_LONG)
    {
        const CLumsVarValue& value = *node.m_pLeft->m_pSlot->m_pValue;
        if (value.GetType() == CLumsVarValue::VT_LONG)
        {
            if (!LumFastOperateLongs(node.m_wToken, value.LongValue(), node.m_pRight->m_cNumber.m_nLong, n))
                return GiveUp();
            fTrue = LumFastTruth(n);
            return true;
        }
    }
    if (!SlotQuick(node, frame, n))
        return false;
    fTrue = LumFastTruth(n);
    return true;
}

// A node's number, as the walker computes the part of the tree it was made from in the
// same place (ClosedLeaf, ClosedValue, ClosedArgument).
__attribute__((noinline)) bool CLumFastForm::SlotNumber(const SLumSlotNode& node, const SClosedFrame& frame,
                                                        SLumNumber& out)
{
    switch (node.m_eKind)
    {
    case SLumSlotNode::CONSTANT:
        out = node.m_cNumber;
        return true;
    case SLumSlotNode::SLOT_ANY:
        return LumFastNumber(*node.m_pSlot->m_pValue, out) || GiveUp();
    case SLumSlotNode::SLOT_NUMBER:
        return LumFastNumberOnly(*node.m_pSlot->m_pValue, out) || GiveUp();
    case SLumSlotNode::OPERATOR:
    case SLumSlotNode::OPERATOR_LONG:
    case SLumSlotNode::OPERATOR_DOUBLE:
    {
        SLumNumber r;
        return SlotLeaf(*node.m_pLeft, frame, out) && SlotLeaf(*node.m_pRight, frame, r) &&
               (LumFastOperate(node.m_wToken, out, r, out) || GiveUp());
    }
    case SLumSlotNode::CALL:
        return SlotCall(node, frame, out);
    case SLumSlotNode::ELEMENT:
        return SlotElement(node, out);
    case SLumSlotNode::WALK_BUILTIN:
        return ClosedBuiltin(*node.m_pExpr, out);
    case SLumSlotNode::WALK_NUMBER:
        return ClosedNumber(*node.m_pExpr, out);
    case SLumSlotNode::WALK_TEXT:
        return ClosedTextNumber(*node.m_pExpr, nullptr, out);
    case SLumSlotNode::WALK_TEXT_FRAMED:
        m_nClosedIfs = frame.m_nOpenBase + node.m_nOpen;
        return ClosedTextNumber(*node.m_pExpr, &frame, out);
    default:
        return GiveUp();
    }
}

// An element as ClosedElement reads it, its index a long in its slot; any other index
// as the walker reads it.
LUM_HOT bool CLumFastForm::SlotElement(const SLumSlotNode& node, SLumNumber& out)
{
    const CLumsVarValue& index = *node.m_pSlot->m_pValue;
    if (index.GetType() != CLumsVarValue::VT_LONG || m_nClosedNested >= MAX_LEVELS)
        return ClosedNumber(*node.m_pExpr, out);
    if (m_pStore->HasScopedElements())
        return GiveUp();
    SLumFastExpr& expr = *node.m_pExpr;
    long nIndex = index.LongValue();
    std::string_view name(expr.m_pszName, expr.m_nNameLength);
    const CLumsVarValue* pValue;
    // The store finds an element by its name and one index at once where it can.
    if (nIndex > 0 && nIndex < static_cast<long>(CLumStringMap<CLumsVarValue>::MAX_ELEMENT_INDEX) &&
        !name.empty() && name.size() + 11 <= CLumVariables::MAX_KEY)
        pValue = m_pStore->FindElement(name, static_cast<uint32_t>(nIndex), expr.m_cElements);
    else
    {
        long aIndices[CLumVariables::MAX_INDICES] = {nIndex};
        pValue = m_pStore->FindElement(name, aIndices, expr.m_cElements);
    }
    if (pValue == nullptr)
        pValue = CLumVariables::GetNullValue(name);
    return LumFastNumberOnly(*pValue, out) || GiveUp();
}

// A function's call, as ClosedCall makes it, apart: the evaluation of nodes stays small.
bool CLumFastForm::SlotCall(const SLumSlotNode& node, const SClosedFrame& frame, SLumNumber& out)
{
    m_nClosedIfs = frame.m_nOpenBase + node.m_nOpen;
    return ClosedCallOf<true>(*m_pClosedBasic, *node.m_pExpr, frame, out, nullptr,
                              [&](SLumNumber* pOut) LUM_HOT_LAMBDA {
                                  return SlotNumbers(node.m_ppArgs, node.m_nArgs, frame, pOut);
                              });
}

// A call's arguments for parameters of numbers, left to right.
LUM_HOT bool CLumFastForm::SlotNumbers(const SLumSlotNode* const* ppArgs, size_t nArgs,
                                       const SClosedFrame& frame, SLumNumber* pOut)
{
    if (nArgs == 1)
        return SlotQuick(**ppArgs, frame, *pOut);
    // Two, as often, without the loop's bookkeeping; a variable or a constant read as a
    // leaf at once.
    if (nArgs == 2)
    {
        auto Argument = [&](const SLumSlotNode& node, SLumNumber& out) LUM_HOT_LAMBDA {
            return node.m_eKind <= SLumSlotNode::SLOT_NUMBER ? SlotLeaf(node, frame, out)
                                                             : SlotQuick(node, frame, out);
        };
        return Argument(*ppArgs[0], pOut[0]) && Argument(*ppArgs[1], pOut[1]);
    }
    for (size_t i = 0; i < nArgs; ++i)
        if (!SlotQuick(*ppArgs[i], frame, pOut[i]))
            return false;
    return true;
}

// A number into a slot, as ClosedStore stores it: the variable noted for the undo
// before the run's first write to it.
LUM_HOT bool CLumFastForm::SlotStore(SLumSlot& slot, const SLumNumber& n, char cType)
{
    CLumsVarValue& target = *slot.m_pValue;
    if (slot.m_nKeptRun != m_nClosedRun)
    {
        if (!NoteUndo(target))
            return false;
        slot.m_nKeptRun = m_nClosedRun;
    }
    LumFastStore(target, n, cType);
    return true;
}

// A double's type follows a long's, so that one test tells both apart from the rest.
static_assert(CLumsVarValue::VT_DOUBLE == CLumsVarValue::VT_LONG + 1, "the kinds of numbers are neighbours");

// An assignment of two leaves and an operator, as ASSIGN computes it: where both hold
// numbers (an empty value, a text, read as SlotLeaf reads them) at once, with the
// operator's rules for two longs (wrapping in 32 bits) or for doubles.
template <unsigned short wToken>
__attribute__((always_inline)) inline bool CLumFastForm::SlotArith(const SLumSlotOp& op,
                                                                   const SClosedFrame& frame)
{
    const CLumsVarValue& l = *op.m_pLeft->m_pValue;
    const CLumsVarValue& r = *op.m_pRight->m_pValue;
    unsigned nLeft = static_cast<unsigned>(l.GetType()), nRight = static_cast<unsigned>(r.GetType());
    // Each way stores its own number, whose kind the store then knows.
    SLumNumber n;
    if ((nLeft << 2 | nRight) == (CLumsVarValue::VT_LONG << 2 | CLumsVarValue::VT_LONG))
    {
        int64_t a = l.LongValue(), b = r.LongValue();
        LumFastSetLong(n, wToken == LBT_PLUS ? a + b : wToken == LBT_MINUS ? a - b : a * b);
        return SlotStore(*op.m_pTarget, n, op.m_cType);
    }
    if (nLeft - CLumsVarValue::VT_LONG <= 1 && nRight - CLumsVarValue::VT_LONG <= 1)
    {
        double a = nLeft == CLumsVarValue::VT_LONG ? l.LongValue() : l.DoubleValue();
        double b = nRight == CLumsVarValue::VT_LONG ? r.LongValue() : r.DoubleValue();
        LumFastSetDouble(n, wToken == LBT_PLUS ? a + b : wToken == LBT_MINUS ? a - b : a * b);
        return SlotStore(*op.m_pTarget, n, op.m_cType);
    }
    return SlotAssign(op, frame);
}

// An If of a variable against a long constant, as IF decides it: at once where the
// variable holds a long (the operator's rules for two longs), else through its node.
template <unsigned short wToken>
LUM_HOT bool CLumFastForm::SlotCompare(const SLumSlotOp& op, const SClosedFrame& frame, bool& fTaken)
{
    const CLumsVarValue& value = *op.m_pLeft->m_pValue;
    if (__builtin_expect(value.GetType() != CLumsVarValue::VT_LONG, 0))
        return SlotIf(op, frame, fTaken);
    int32_t a = value.LongValue(), b = op.m_nConstant;
    fTaken = !(wToken == LBT_EQ   ? a == b
               : wToken == LBT_NE ? a != b
               : wToken == LBT_LT ? a < b
               : wToken == LBT_LE ? a <= b
               : wToken == LBT_GT ? a > b
                                  : a >= b);
    return true;
}

// An If's condition through its node, apart: its nodes stay out of the typed ops.
__attribute__((noinline)) bool CLumFastForm::SlotIf(const SLumSlotOp& op, const SClosedFrame& frame,
                                                    bool& fTaken)
{
    bool fTrue;
    if (!SlotTruth(*op.m_pValue, frame, fTrue))
        return false;
    fTaken = !fTrue;
    return true;
}

// An assignment of a number as the op's value computes it, apart: its nodes stay out of
// the typed ops.
__attribute__((noinline)) bool CLumFastForm::SlotAssign(const SLumSlotOp& op, const SClosedFrame& frame)
{
    SLumNumber n;
    return SlotQuick(*op.m_pValue, frame, n) && SlotStore(*op.m_pTarget, n, op.m_cType);
}

// For as ClosedFor opens the loop, its record on the run's list of Fors open, which
// calls inside the loop find below their own.
bool CLumFastForm::SlotFor(const SLumSlotOp& op, const SClosedFrame& frame)
{
    SClosedFor loop{op.m_pTarget->m_pValue, {}, SLumNumber{false, 1, 0.0}, 0};
    SLumNumber start;
    if (!SlotQuick(*op.m_pValue, frame, start) || !SlotStore(*op.m_pTarget, start, op.m_cType) ||
        !SlotQuick(*op.m_pEnd, frame, loop.m_cEnd) ||
        (op.m_pStep != nullptr && !SlotQuick(*op.m_pStep, frame, loop.m_cStep)))
        return false;
    loop.m_fLongs = !loop.m_cEnd.m_fDouble && !loop.m_cStep.m_fDouble;
    m_aClosedFors.push_back(loop);
    ++m_nClosedFors;
    return true;
}

// Next as ClosedNext counts, on the innermost For's record, which is its own (the code
// knows): 1 for another pass, 0 where the loop ends, -1 where the run gives up.
LUM_HOT int CLumFastForm::SlotNext(const SLumSlotOp& op)
{
    SClosedFor& loop = m_aClosedFors.back();
    SLumSlot& slot = *op.m_pTarget;
    CLumsVarValue& counter = *slot.m_pValue;
    bool fPast;
    if (counter.GetType() == CLumsVarValue::VT_LONG && loop.m_fLongs)
    {
        // All longs: the sum wraps in 32 bits, the step's sign picks the test, as
        // LumFastOperate and LumFastPastEnd compute them. The counter's slot is its
        // For's, which noted it for the undo in this run as it stored the start.
        int32_t nStep = loop.m_cStep.m_nLong;
        int32_t nNow =
            static_cast<int32_t>(static_cast<uint32_t>(counter.LongValue()) + static_cast<uint32_t>(nStep));
        fPast = nStep < 0 ? nNow < loop.m_cEnd.m_nLong : nNow > loop.m_cEnd.m_nLong;
        counter = static_cast<long>(nNow);
    }
    else
    {
        SLumNumber now{};
        if (!LumFastNumberOnly(counter, now))
            return -1;
        LumFastOperate(LBT_PLUS, now, loop.m_cStep, now);
        fPast = LumFastPastEnd(now, loop.m_cEnd, loop.m_cStep);
        LumFastStore(counter, now, now.m_fDouble ? 0 : '%');
    }
    if (!fPast)
        return 1;
    m_aClosedFors.pop_back();
    --m_nClosedFors;
    return 0;
}

// Statements from the head's link to the End, which it gives; null where the run
// gives up.
__attribute__((noinline)) SLumFastStep* CLumFastForm::ClosedBody(CLumBasic& basic, SLumFastStep& head,
                                                                 const SClosedFrame& frame)
{
    // The conditions of the Ifs this procedure holds open, the innermost lowest.
    uint64_t nConditions = 0;
    int nIfs = 0;
    // Its For loops open lie above this index (ClosedFor): not in this frame, which
    // a deep recursion stacks up.
    const size_t nForBase = m_nClosedFors;
    // Statements and markers run, counted here and added to the run's count at every
    // way back and at the End: only a loop or a call can make a run long.
    unsigned long nSteps = 0;
    auto Count = [&] {
        m_nClosedSteps += nSteps;
        nSteps = 0;
        return m_nClosedSteps <= m_nClosedStepLimit;
    };
    SLumFastStep* pStep = Onward(basic, head, false, nSteps);
    while (pStep != nullptr)
    {
        ++nSteps;
        bool fTaken = false;
        switch (pStep->m_eKind)
        {
        case SLumFastStep::ASSIGN:
            if (!ClosedAssign(basic, *pStep, frame))
                return nullptr;
            break;
        case SLumFastStep::ASSIGN_ELEMENT:
            if (!ClosedAssignElement(basic, *pStep, frame))
                return nullptr;
            break;
        case SLumFastStep::IF:
        {
            bool fTrue = false;
            if (nIfs == MAX_CLOSED_IFS || m_nClosedIfs >= m_nClosedIfLimit)
                return GiveUp(), nullptr;
            if (!ClosedCondition(basic, *pStep, frame, fTrue))
                return nullptr;
            nConditions = (nConditions << 1) | (fTrue ? 1 : 0);
            ++nIfs;
            ++m_nClosedIfs;
            fTaken = !fTrue;
            break;
        }
        case SLumFastStep::ELSE:
            if (!IfOnTop(nIfs, nForBase))
                return GiveUp(), nullptr;
            fTaken = (nConditions & 1) != 0;
            break;
        case SLumFastStep::ENDIF:
            if (!IfOnTop(nIfs, nForBase))
                return GiveUp(), nullptr;
            nConditions >>= 1;
            --nIfs;
            --m_nClosedIfs;
            break;
        case SLumFastStep::WHILE:
            if (!ClosedCondition(basic, *pStep, frame, fTaken))
                return nullptr;
            fTaken = !fTaken;
            break;
        case SLumFastStep::WEND:
            if (!Count() || MustLeave(basic))
                return GiveUp(), nullptr;
            fTaken = true;
            break;
        case SLumFastStep::DO:
            break;
        case SLumFastStep::LOOP:
            if (!ClosedCondition(basic, *pStep, frame, fTaken))
                return nullptr;
            fTaken = fTaken == (pStep->m_wLoopKind == LBT_WHILE);
            if (fTaken && (!Count() || MustLeave(basic)))
                return GiveUp(), nullptr;
            break;
        case SLumFastStep::FOR:
            if (!ClosedFor(basic, *pStep, frame, nIfs, nForBase))
                return nullptr;
            break;
        case SLumFastStep::NEXT:
        {
            int nPass = ClosedNext(*pStep, nIfs, nForBase);
            if (nPass < 0 || (nPass > 0 && (!Count() || MustLeave(basic))))
                return GiveUp(), nullptr;
            fTaken = nPass > 0;
            break;
        }
        case SLumFastStep::CALL:
            if (!ClosedSub(basic, *pStep, frame))
                return nullptr;
            break;
        case SLumFastStep::MARKER:
            basic.m_nLine = pStep->m_nLine;
            if (__builtin_expect(m_fCounting, 0))
                NoteHits(pStep, 1);
            break;
        case SLumFastStep::END:
            // An If or a For left open stays on the command stack the regular way.
            return nIfs == 0 && m_nClosedFors == nForBase && Count() ? pStep : (GiveUp(), nullptr);
        default:
            return GiveUp(), nullptr;
        }
        pStep = Onward(basic, *pStep, fTaken, nSteps);
    }
    return nullptr;
}

// The statement a link leads to past the line markers there, with the line of the last
// marker passed noted, as the markers would note it. Null for a warm-up where a link is
// still missing.
LUM_HOT SLumFastStep* CLumFastForm::Onward(CLumBasic& basic, SLumFastStep& step, bool fTaken,
                                           unsigned long& nSteps)
{
    SLumPastMarkers& past = fTaken ? step.m_cPastTaken : step.m_cPastNext;
    if (past.m_pStep == nullptr && !PassMarkers(fTaken ? step.m_pTaken : step.m_pNext, past))
        return WarmUp(), nullptr;
    if (past.m_nMarkers != 0)
    {
        basic.m_nLine = past.m_nLine;
        nSteps += past.m_nMarkers;
        if (__builtin_expect(m_fCounting, 0))
            NoteHits(fTaken ? step.m_pTaken : step.m_pNext, past.m_nMarkers);
    }
    return past.m_pStep;
}

// The hits as the markers' handler would have counted them: each line's first hit
// comes in the order of the run's, which is the order a profile takes new lines.
void CLumFastForm::CountHits(CLumBasic& basic)
{
    FoldRepeats(true);
    if (m_pAddingUpFor != nullptr)
        return AddUpClosedHits();
    // No host code ran since the closed run began: counting cannot have been switched.
    CLumBasicDebugger& debugger = *basic.m_pDebugger;
    CLumBasicProfiler* pProfiler = debugger.CountsInto();
    for (size_t i = 0; i < m_nCounted; ++i)
    {
        // A marker listed twice, its count wrapped to 0 between, adds its sum once.
        SLumFastStep& marker = *m_aCounted[i];
        uint32_t nHits = marker.m_nHits;
        marker.m_nHits = 0;
        if (pProfiler != nullptr)
            pProfiler->CountHits(marker.m_nLine, nHits);
    }
    m_nCounted = 0;
    if (m_pLastCounted != nullptr)
        debugger.NoteLine(m_pLastCounted->m_nLine);
    m_pLastCounted = nullptr;
}

// Leaves the list empty, as each closed run finds it.
void CLumFastForm::DropHits()
{
    FoldRepeats(false);
    for (size_t i = 0; i < m_nCounted; ++i)
        m_aCounted[i]->m_nHits = 0;
    m_nCounted = 0;
    m_pLastCounted = nullptr;
}

void CLumFastForm::CountMore(SLumFastStep* pMarker)
{
    m_aCounted.resize(std::max<size_t>(16, 2 * m_aCounted.size()), pMarker);
}

bool CLumFastForm::PassMarkers(SLumFastStep* pLink, SLumPastMarkers& past)
{
    SLumPastMarkers found;
    // Markers stand alone in front of a statement; a long run of them is left to the
    // regular way rather than followed.
    for (int i = 0; i < 16 && pLink != nullptr; ++i)
    {
        if (pLink->m_eKind != SLumFastStep::MARKER)
        {
            found.m_pStep = pLink;
            past = found;
            return true;
        }
        ++found.m_nMarkers;
        found.m_nLine = pLink->m_nLine;
        pLink = pLink->m_pNext;
    }
    return false;
}

// An assignment of a number to a variable found before, as Assign or AssignCommitted
// makes it.
LUM_HOT bool CLumFastForm::ClosedAssign(CLumBasic& basic, SLumFastStep& step, const SClosedFrame& frame)
{
    if (step.m_cType == '$')
        return ClosedAssignText(step, frame);
    SLumNumber n;
    return ClosedExpression(basic, step, frame, n) && ClosedStore(step, n) != nullptr;
}

// A text to a text variable found before, as AssignValue or AssignCommitted makes it
// (appending parts included, which make the same text), noted for the undo.
bool CLumFastForm::ClosedAssignText(SLumFastStep& step, const SClosedFrame& frame)
{
    if (!TextsAllowed())
        return GiveUp();
    CLumsVarValue* pTarget = Cached(step.m_cTarget);
    if (pTarget == nullptr)
        return WarmUp();
    CLumsVarValue value;
    return ClosedAny(*step.m_pExpr, &frame, value) && AsText(value) &&
           KeepText(*pTarget, step.m_cKept, value);
}

// A value as a text variable takes it: a text as it is, nothing as "", a number
// refused, which the regular way reports.
bool CLumFastForm::AsText(CLumsVarValue& value)
{
    if (value.IsString())
        return true;
    if (value.IsNumber())
        return GiveUp();
    value = "";
    return true;
}

// The number into the step's target, found before and noted for the undo, as Assign
// stores it; the target, or null where the run gives up.
LUM_HOT CLumsVarValue* CLumFastForm::ClosedStore(SLumFastStep& step, const SLumNumber& n)
{
    CLumsVarValue* pTarget = Cached(step.m_cTarget);
    if (pTarget == nullptr)
        return WarmUp(), nullptr;
    if (!Keep(*pTarget, step.m_cKept))
        return nullptr;
    LumFastStore(*pTarget, n, step.m_cType);
    return pTarget;
}

// Else and End If close an If: one the procedure opened after its innermost For, as
// the regular way finds an If record on top of the command stack.
LUM_HOT bool CLumFastForm::IfOnTop(int nIfs, size_t nForBase) const
{
    return nIfs > 0 && (m_nClosedFors == nForBase || m_aClosedFors.back().m_nIfs < nIfs);
}

// For as its handler opens the loop: the counter takes the start, then the end and the
// step are computed once, numbers as they come out. The loop is held open above
// `nForBase` with the procedure's `nIfs` Ifs open; false where the run gives up.
bool CLumFastForm::ClosedFor(CLumBasic& basic, SLumFastStep& step, const SClosedFrame& frame, int nIfs,
                             size_t nForBase)
{
    if (m_nClosedFors - nForBase == MAX_CLOSED_FORS || m_nClosedIfs >= m_nClosedIfLimit)
        return GiveUp();
    SClosedFor loop{nullptr, {}, SLumNumber{false, 1, 0.0}, nIfs};
    SLumNumber start;
    if (!ClosedValue(basic, *step.m_pExpr, frame, start) ||
        (loop.m_pCounter = ClosedStore(step, start)) == nullptr ||
        !ClosedValue(basic, *step.m_apArgs[0], frame, loop.m_cEnd) ||
        (step.m_apArgs.size() > 1 && !ClosedValue(basic, *step.m_apArgs[1], frame, loop.m_cStep)))
        return false;
    m_aClosedFors.push_back(loop);
    ++m_nClosedFors;
    ++m_nClosedIfs;
    return true;
}

// Next as the fast form's Next counts (kept apart from it: that one sits in the run
// loop's frame, which a sanitized recursion a thousand runs deep must fit), on the
// counter as the body left it: plus the step, past the end or not. 1 for another pass, 0 where the loop ends,
// -1 where the run gives up (the innermost record is not this procedure's For, or the counter no number).
int CLumFastForm::ClosedNext(SLumFastStep& step, int nIfs, size_t nForBase)
{
    if (m_nClosedFors == nForBase || m_aClosedFors.back().m_nIfs != nIfs)
        return -1;
    SClosedFor& loop = m_aClosedFors.back();
    SLumNumber counter{}; // set by the read below; GCC cannot follow the type through its bits
    if (!LumFastNumberOnly(*loop.m_pCounter, counter) || !Keep(*loop.m_pCounter, step.m_cKept))
        return -1;
    LumFastOperate(LBT_PLUS, counter, loop.m_cStep, counter);
    bool fPast = LumFastPastEnd(counter, loop.m_cEnd, loop.m_cStep);
    LumFastStore(*loop.m_pCounter, counter, counter.m_fDouble ? 0 : '%');
    if (!fPast)
        return 1;
    m_aClosedFors.pop_back();
    --m_nClosedFors;
    --m_nClosedIfs;
    return 0;
}

// The condition of If, While or Loop, as Condition computes it.
LUM_HOT bool CLumFastForm::ClosedCondition(CLumBasic& basic, SLumFastStep& step, const SClosedFrame& frame,
                                           bool& fTrue)
{
    SLumNumber n;
    if (!ClosedExpression(basic, step, frame, n))
        return false;
    fTrue = LumFastTruth(n);
    return true;
}

// The number a statement's expression gives: with its calls, or computed throughout
// as a number. Anything else (a text, a comparison of texts) is for the regular way.
LUM_HOT bool CLumFastForm::ClosedExpression(CLumBasic& basic, SLumFastStep& step, const SClosedFrame& frame,
                                            SLumNumber& out)
{
    // ClosedEnter made sure that the body's statements may open their expressions. A
    // value of texts (a comparison of texts) is computed as values.
    if (step.m_fCommitted || !step.m_fNumeric)
        return ClosedValue(basic, *step.m_pExpr, frame, out);
    bool fDone;
    if (QuickOnLong(*step.m_pExpr, out, fDone))
        return fDone;
    return step.m_pExpr->m_eOp == SLumFastExpr::OPERATOR ? ClosedTree(*step.m_pExpr, out)
                                                         : ClosedLeaf(*step.m_pExpr, out);
}

// A statement's operator that is not on a long variable and a long constant, with an
// operand that is an operator or an element itself (t + i% * 1.5, t + a(e%)) computed
// here, not by a call of ClosedNumber: the same steps in the same order, one frame less.
bool CLumFastForm::ClosedTree(SLumFastExpr& expr, SLumNumber& out)
{
    SLumNumber r;
    if (!ClosedTreeOperand(*expr.m_pLeft, out) || !ClosedTreeOperand(*expr.m_pRight, r))
        return false;
    return LumFastOperate(expr.m_wToken, out, r, out) || GiveUp();
}

LUM_HOT bool CLumFastForm::ClosedTreeOperand(SLumFastExpr& expr, SLumNumber& out)
{
    switch (expr.m_eOp)
    {
    case SLumFastExpr::CONSTANT:
    case SLumFastExpr::VARIABLE:
        return ClosedLeaf(expr, out);
    case SLumFastExpr::OPERATOR:
        return ClosedOperatorOfLeaves(expr, out);
    case SLumFastExpr::OTHER:
        return ClosedBuiltin(expr, out);
    case SLumFastExpr::ELEMENT:
        return ClosedElement(expr, out);
    default:
        return GiveUp();
    }
}

// An operator whose operands are leaves, or else one for ClosedNumber's recursion.
LUM_HOT bool CLumFastForm::ClosedOperatorOfLeaves(SLumFastExpr& expr, SLumNumber& out)
{
    bool fDone;
    if (OperateOnLong(expr, out, fDone))
        return fDone || GiveUp();
    SLumNumber r;
    if (!ClosedLeaf(*expr.m_pLeft, out) || !ClosedLeaf(*expr.m_pRight, r))
        return false;
    return LumFastOperate(expr.m_wToken, out, r, out) || GiveUp();
}

// The most frequent operation, a long variable and a long constant (k% > 0), without
// a call: true where it computed or gave up, with `fDone`.
LUM_HOT bool CLumFastForm::QuickOnLong(const SLumFastExpr& expr, SLumNumber& out, bool& fDone)
{
    if (expr.m_eOp != SLumFastExpr::OPERATOR || !OperateOnLong(expr, out, fDone))
        return false;
    fDone = fDone || GiveUp();
    return true;
}

// A value as EvalFramed computes it, where that is a number (not an empty value).
bool CLumFastForm::ClosedValue(CLumBasic& basic, SLumFastExpr& expr, const SClosedFrame& frame,
                               SLumNumber& out)
{
    if (expr.m_fPure)
        return ClosedPure(expr, false, out);
    if (expr.m_eOp == SLumFastExpr::USERCALL)
        return ClosedCall(basic, expr, frame, out);
    if (expr.m_eOp != SLumFastExpr::OPERATOR)
        return GiveUp();
    if (expr.m_fText)
        return ClosedTextNumber(expr, &frame, out);
    SLumNumber r;
    if (!ClosedOperand(basic, *expr.m_pLeft, frame, out) || !ClosedOperand(basic, *expr.m_pRight, frame, r))
        return false;
    return LumFastOperate(expr.m_wToken, out, r, out) || GiveUp();
}

// An operand of an operator that calls functions: its two most frequent kinds, a
// constant and a call, without a detour.
LUM_HOT bool CLumFastForm::ClosedOperand(CLumBasic& basic, SLumFastExpr& expr, const SClosedFrame& frame,
                                         SLumNumber& out)
{
    if (expr.m_eOp == SLumFastExpr::CONSTANT)
    {
        out = expr.m_cNumber;
        return expr.m_fNumber || GiveUp();
    }
    if (expr.m_eOp == SLumFastExpr::USERCALL)
        return ClosedCall(basic, expr, frame, out);
    return ClosedValue(basic, expr, frame, out);
}

// A number as EvalNumber computes it, from variables found before; constants and
// variables, the leaves of nearly every tree, without a call.
LUM_HOT bool CLumFastForm::ClosedLeaf(SLumFastExpr& expr, SLumNumber& out)
{
    if (expr.m_eOp == SLumFastExpr::CONSTANT)
    {
        out = expr.m_cNumber;
        return expr.m_fNumber || GiveUp();
    }
    if (expr.m_eOp != SLumFastExpr::VARIABLE)
        return ClosedNumber(expr, out);
    const CLumsVarValue* pValue = Cached(expr.m_cCache);
    if (pValue == nullptr)
        return WarmUp();
    return LumFastNumber(*pValue, out) || GiveUp();
}

// The operand of ClosedTree, not inlined: for the built-ins' arguments and the
// other places an expression's number is wanted.
bool CLumFastForm::ClosedNumber(SLumFastExpr& expr, SLumNumber& out)
{
    return ClosedTreeOperand(expr, out);
}

// An element read as Element reads it, where it holds a number: its indices as numbers,
// and no procedure's own elements (scoped keys) in the way. An index that is no number,
// or an element that holds no number, is for the regular way.
bool CLumFastForm::ClosedElement(SLumFastExpr& expr, SLumNumber& out)
{
    long aIndices[CLumVariables::MAX_INDICES] = {};
    if (!ClosedIndices(expr, aIndices))
        return false;
    std::string_view name(expr.m_pszName, expr.m_nNameLength);
    const CLumsVarValue* pValue = m_pStore->FindElement(name, aIndices, expr.m_cElements);
    if (pValue == nullptr)
        pValue = CLumVariables::GetNullValue(name);
    return LumFastNumberOnly(*pValue, out) || GiveUp();
}

// An element's indices as numbers, where no procedure's own elements (scoped keys) are
// in the way of a global element's name.
bool CLumFastForm::ClosedIndices(SLumFastExpr& expr, long* pIndices)
{
    if (m_nClosedNested >= MAX_LEVELS || expr.m_nNameLength > CLumVariables::MAX_KEY ||
        m_pStore->HasScopedElements())
        return GiveUp();
    CLumFastNested nested(m_nClosedNested);
    if (!SingleIndex(expr, pIndices))
        for (size_t i = 0; i < expr.m_apIndices.size(); ++i)
        {
            SLumNumber n;
            if (!ClosedLeaf(*expr.m_apIndices[i], n))
                return false;
            pIndices[i] = n.m_fDouble ? LumDoubleToLong(n.m_dDouble) : n.m_nLong;
        }
    return true;
}

// An element's assignment of a number as AssignElement makes its common one: a global
// element by a single index. A text, or a procedure whose name could be an element's (its
// result's rule) is for the regular way.
bool CLumFastForm::ClosedAssignElement(CLumBasic& basic, SLumFastStep& step, const SClosedFrame& frame)
{
    SLumFastExpr& target = *step.m_pTarget;
    long aIndices[CLumVariables::MAX_INDICES] = {};
    if (!step.m_fNumeric || step.m_cType == '$' || target.m_apIndices.size() != 1 ||
        target.m_nNameLength == 0 || target.m_nNameLength + 11 > CLumVariables::MAX_KEY ||
        NameCouldBeElements(frame))
        return GiveUp();
    if (!ClosedIndices(target, aIndices))
        return false;
    if (aIndices[0] <= 0 || aIndices[0] >= static_cast<long>(CLumStringMap<CLumsVarValue>::MAX_ELEMENT_INDEX))
        return GiveUp();
    SLumNumber n;
    return ClosedExpression(basic, step, frame, n) && StoreElement(step, aIndices[0], n);
}

// The same in the compiled form, where the index is a variable of a slot: a long there
// is read at once, anything else goes to the walker.
bool CLumFastForm::SlotAssignElement(CLumBasic& basic, const SLumSlotOp& op, const SClosedFrame& frame)
{
    SLumFastStep& step = *op.m_pFastStep;
    const CLumsVarValue& index = *op.m_pTarget->m_pValue;
    if (index.GetType() != CLumsVarValue::VT_LONG || m_nClosedNested >= MAX_LEVELS)
        return ClosedAssignElement(basic, step, frame);
    long nIndex = index.LongValue();
    if (NameCouldBeElements(frame) || m_pStore->HasScopedElements() || nIndex <= 0 ||
        nIndex >= static_cast<long>(CLumStringMap<CLumsVarValue>::MAX_ELEMENT_INDEX))
        return GiveUp();
    SLumNumber n;
    return SlotQuick(*op.m_pValue, frame, n) && StoreElement(step, nIndex, n);
}

// NameCouldBeElements asked first: the stacks' procedure is one no closed run changes.
bool CLumFastForm::AskNameCouldBeElements(const SClosedFrame& frame)
{
    if (const SLumFastStep* pHead = frame.m_pHead)
    {
        if (pHead->m_nNameColon < 0)
            pHead->m_nNameColon =
                std::string_view(pHead->m_pszName, pHead->m_nNameLength).find(':') != std::string_view::npos;
        return pHead->m_nNameColon != 0;
    }
    if (m_nStackNameRun != m_nClosedRun)
    {
        m_fStackNameColon = m_pClosedBasic->m_cFunctionStack.TopString().find(':') != std::string::npos;
        m_nStackNameRun = m_nClosedRun;
    }
    return m_fStackNameColon;
}

// The element `nIndex` of the step's target takes the number. One that exists is noted
// for the undo before; one still to be made is made as AssignElement makes it, the
// store's newest key, and giving up takes the elements made back, newest first (Undo);
// its value needs no undo of its own. Under a memory budget the element's room would
// count where the regular way has not made it yet, so an element to be made gives up
// there.
LUM_HOT bool CLumFastForm::StoreElement(SLumFastStep& step, long nIndex, const SLumNumber& n)
{
    SLumFastExpr& target = *step.m_pTarget;
    std::string_view name(target.m_pszName, target.m_nNameLength);
    // A step that made its element last time is likely to make the next one too: it
    // asks the store to find or make it in one lookup, where the others find it first.
    CLumsVarValue* pElement = nullptr;
    if (!step.m_fMadeElement)
        pElement = m_pStore->FindElement(name, static_cast<uint32_t>(nIndex), target.m_cElements);
    if (pElement == nullptr)
    {
        if (!TextsAllowed())
            return GiveUp();
        size_t nCount = m_pStore->GetCount();
        try
        {
            pElement = m_pStore->ObtainElement(name, static_cast<uint32_t>(nIndex), target.m_cElements);
        }
        catch (const std::bad_alloc&)
        {
            return GiveUp(); // the regular way runs out of memory where it must
        }
        step.m_fMadeElement = m_pStore->GetCount() != nCount;
        if (step.m_fMadeElement)
        {
            ++m_nMadeElements;
            LumFastStore(*pElement, n, step.m_cType);
            return true;
        }
    }
    if (!Keep(*pElement, step.m_cKept))
        return false;
    LumFastStore(*pElement, n, step.m_cType);
    return true;
}

// A built-in of numbers as its handler computes it, on its arguments computed as
// GetArg reads them for a number (the empty value as it comes, which reads as 0): an
// argument that is no number, or any other built-in, is for the regular way, which
// reports what it must.
bool CLumFastForm::ClosedBuiltin(SLumFastExpr& expr, SLumNumber& out)
{
    if (!expr.m_fTakesNumbers)
        return ClosedTextBuiltin(expr, out);
    if (!expr.m_fArgsRead)
        return WarmUp();
    size_t nArgs = expr.m_apIndices.size();
    SLumNumber aArgs[3];
    if (nArgs == 0 || nArgs > 3 || m_nClosedNested >= MAX_LEVELS)
        return GiveUp();
    CLumFastNested nested(m_nClosedNested);
    for (size_t i = 0; i < nArgs; ++i)
        if (!ClosedPure(*expr.m_apIndices[i], true, aArgs[i]))
            return false;
    CLumsVarValue value, digits, mode;
    LumFastStore(value, aArgs[0]);
    if (nArgs > 1)
        LumFastStore(digits, aArgs[1]);
    if (nArgs > 2)
        LumFastStore(mode, aArgs[2]);
    if (!NumberBuiltin(expr.m_wToken, value, nArgs > 1 ? &digits : nullptr, nArgs > 2 ? &mode : nullptr))
        return GiveUp();
    return LumFastNumber(value, out) || GiveUp();
}

// The result as Result reads it, in the caller's scope under the key "@F@F".
// A text result goes to `pText`, where given, as End copies it.
LUM_HOT bool CLumFastForm::ClosedResult(SLumFastStep& end, uint64_t nCalleeScope, const SClosedFrame& caller,
                                        SLumNumber& out, CLumsVarValue* pText)
{
    if (end.m_nResultOf != nCalleeScope)
        return WarmUp();
    const CLumsVarValue* pValue = Cached(end.m_cResult);
    if (pValue == nullptr && (pValue = FindResult(end, caller)) == nullptr)
        return GiveUp(); // an empty result
    if (LumFastNumberOnly(*pValue, out))
        return true;
    if (pText == nullptr)
        return GiveUp();
    return ClosedTextResult(*pValue, pText);
}

bool CLumFastForm::ClosedTextResult(const CLumsVarValue& result, CLumsVarValue* pText)
{
    if (!TextsAllowed() || !result.IsString())
        return GiveUp();
    CLumsVarValue copy(result);
    pText->Swap(copy);
    return true;
}

// The result's variable as GetVar finds it: where more than one procedure runs, the
// caller's own key for it comes first. Remembered for the caller's scope.
const CLumsVarValue* CLumFastForm::FindResult(SLumFastStep& end, const SClosedFrame& caller)
{
    // The scope the call before returned to, most often: the two change places.
    if (const CLumsVarValue* pElse = Cached(end.m_cResultElse))
    {
        std::swap(end.m_cResult, end.m_cResultElse);
        return pElse;
    }
    CLumsVarValue* pFound = nullptr;
    if (caller.m_nNames > 1)
    {
        std::string_view name =
            caller.m_pHead != nullptr
                ? std::string_view(caller.m_pHead->m_pszName, caller.m_pHead->m_nNameLength)
                : std::string_view(m_pClosedBasic->m_cFunctionStack.TopString());
        pFound = m_pStore->Find(CLumScopedKey(name, end.m_strResultKey).c_str(), nullptr);
    }
    if (pFound == nullptr)
        pFound = m_pStore->Find(end.m_strResultKey.c_str(), nullptr);
    if (pFound != nullptr)
    {
        end.m_cResultElse = end.m_cResult;
        end.m_cResult = CLumNameCache{m_pStore, m_pStore->GetGeneration(), caller.m_nScope, pFound};
    }
    return pFound;
}

// A built-in that reads or gives texts, where a number comes out, as the fast form
// computes it.
bool CLumFastForm::ClosedTextBuiltin(SLumFastExpr& expr, SLumNumber& out)
{
    CLumsVarValue value;
    return ClosedBuiltinValue(expr, value) && (LumFastNumber(value, out) || GiveUp());
}

// A number from an expression of values (a comparison of texts, Len of a function's
// text), as the regular way computes the value and reads it for a number; a value that
// is a text is for the regular way, which reports or converts it.
bool CLumFastForm::ClosedTextNumber(SLumFastExpr& expr, const SClosedFrame* pFrame, SLumNumber& out)
{
    CLumsVarValue value;
    return ClosedAny(expr, pFrame, value) && (LumFastNumber(value, out) || GiveUp());
}

// The text of a constant, where the node is one. No memory budget counts the copies a
// closed run leaves out.
const CLumsVarValue* CLumFastForm::TextConstant(const SLumFastExpr& expr)
{
    return expr.m_eOp == SLumFastExpr::CONSTANT && expr.m_pNode->GetConstant().IsString()
               ? &expr.m_pNode->GetConstant()
               : nullptr;
}

// A value as EvalValue computes it (and EvalFramed for a call): two numbers as
// numbers compute, and of the operators on texts those that cannot fail here, `+`
// and the comparisons of two texts; anything else gives up.
bool CLumFastForm::ClosedAny(SLumFastExpr& expr, const SClosedFrame* pFrame, CLumsVarValue& out)
{
    if (!TextsAllowed())
        return GiveUp();
    switch (expr.m_eOp)
    {
    case SLumFastExpr::CONSTANT:
        out = expr.m_pNode->GetConstant();
        return true;
    case SLumFastExpr::VARIABLE:
    {
        const CLumsVarValue* pValue = Cached(expr.m_cCache);
        if (pValue == nullptr)
            return WarmUp();
        out = *pValue;
        return true;
    }
    case SLumFastExpr::ELEMENT:
    {
        SLumNumber n{};
        if (!ClosedElement(expr, n))
            return false;
        LumFastStore(out, n);
        return true;
    }
    case SLumFastExpr::USERCALL:
    {
        SLumNumber n{};
        CLumsVarValue text;
        if (pFrame == nullptr || !ClosedCall(*m_pClosedBasic, expr, *pFrame, n, &text))
            return pFrame == nullptr ? GiveUp() : false;
        if (text.IsString())
            out.Swap(text);
        else
            LumFastStore(out, n);
        return true;
    }
    case SLumFastExpr::OPERATOR:
    {
        if (expr.m_fNumericValue && expr.m_fPure)
        {
            SLumNumber n{};
            if (!ClosedNumber(expr, n))
                return false;
            LumFastStore(out, n);
            return true;
        }
        CLumsVarValue rightValue;
        if (!ClosedAny(*expr.m_pLeft, pFrame, out))
            return false;
        // A text constant is read where it stands: the operators only read an operand.
        const CLumsVarValue* pRight = TextConstant(*expr.m_pRight);
        if (pRight == nullptr)
        {
            if (!ClosedAny(*expr.m_pRight, pFrame, rightValue))
                return false;
            pRight = &rightValue;
        }
        const CLumsVarValue& right = *pRight;
        SLumNumber l{}, r{};
        if (out.IsNumber() && right.IsNumber())
        {
            LumFastNumber(out, l);
            LumFastNumber(right, r);
            if (!LumFastOperate(expr.m_wToken, l, r, l))
                return GiveUp();
            LumFastStore(out, l);
            return true;
        }
        bool fTexts = out.IsString() && right.IsString();
        bool fFails = true;
        switch (expr.m_wToken)
        {
        case LBT_PLUS:
            fFails = !out.IsString() && !right.IsString();
            break;
        case LBT_EQ:
        case LBT_NE:
        case LBT_LT:
        case LBT_LE:
        case LBT_GT:
        case LBT_GE:
            fFails = !fTexts;
            break;
        default:
            break;
        }
        if (fFails)
            return GiveUp();
        LumApplyOperator(expr.m_wToken, out, right, out);
        return true;
    }
    case SLumFastExpr::OTHER:
        return ClosedBuiltinValue(expr, out);
    default:
        return GiveUp();
    }
}
