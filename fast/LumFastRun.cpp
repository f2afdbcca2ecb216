// The run of the fast form: the run loop's own work, statement after statement along
// the links, with the handler taking every statement the form does not run itself.
// The statements that loops repeat most (line markers, assignments of numbers, Next
// and the branches) run here without leaving this file.
#include "fast/LumFastForm.h"

#include <lumbasic/LumBasic.h>
#include <lumbasic/LumBasicDebugger.h>

#include "core/LumDepthGuard.h"
#include "core/LumFrame.h"
#include "expr/LumExpression.h"

void CLumFastForm::Run(CLumBasic& basic, unsigned short& wToken, int& nResult, SLumFastStep* pStart)
{
    CLumBasicFile* pFile = basic.m_pQuelle;
    SLumFastStep* pStep = pStart != nullptr ? pStart : StepAt(basic, pFile->GetPosition() - 2);
    for (;;)
    {
        unsigned char* pLeaveAt = nullptr;
        pStep = RunSteps(basic, pStep, pLeaveAt, nResult);
        if (pStep == nullptr && nResult != 0)
        {
            // As after a handler that ended the run loop: a separator behind is passed.
            if (pFile->PeekToken() == LBT_SEPARATOR)
                pFile->GetToken();
            return;
        }
        if (pStep == nullptr)
        {
            // The form leads nowhere further: the run loop reads on from there, and meets
            // the end of the run or a damaged image as it always does.
            Leave(basic, pLeaveAt, wToken);
            return;
        }
        CLumBasic::SLumRunBudget& budget = *basic.m_pBudget;
        if (budget.IsWatched())
            budget.Enforce();
        pFile->MoveTo(pStep->m_pAt + 2);
        wToken = pStep->m_wToken;
        nResult = basic.DispatchToken(wToken);
        if (basic.m_pQuelle != pFile)
            return; // a handler put another cursor in place: it is the run loop's
        if (pFile->PeekToken() == LBT_SEPARATOR)
            pFile->GetToken();
        if (nResult != 0)
            return;
        wToken = pFile->GetToken();
        // Attached modules see every statement through the dispatch, as they may watch
        // or replace any of them.
        if (wToken == 0 || basic.ModulsWatch())
            return;
        pStep = StepAt(basic, pFile->GetPosition() - 2);
    }
}

// The statement a raw position leads to, as the run loop finds it: a separator
// there is passed. Null where the next read would fail or the run ends; the run loop
// then meets that itself.
SLumFastStep* CLumFastForm::Follow(CLumBasic& basic, unsigned char* pRaw, SLumFastStep*& pLink)
{
    const CLumBasicFile& file = *basic.m_pQuelle;
    unsigned char* p = pRaw;
    if (!file.CanReadAt(p, 2))
        return nullptr;
    if ((p[0] | (p[1] << 8)) == LBT_SEPARATOR)
    {
        p += 2;
        if (!file.CanReadAt(p, 2))
            return nullptr;
    }
    if ((p[0] | (p[1] << 8)) == 0)
        return nullptr;
    pLink = StepAt(basic, p);
    return pLink;
}

void CLumFastForm::Leave(CLumBasic& basic, unsigned char* pRaw, unsigned short& wToken)
{
    CLumBasicFile& file = *basic.m_pQuelle;
    file.MoveTo(pRaw);
    if (file.PeekToken() == LBT_SEPARATOR)
        file.GetToken();
    wToken = file.GetToken();
}

LUM_HOT CLumFastForm::EOutcome CLumFastForm::Execute(CLumBasic& basic, SLumFastStep& step)
{
    switch (step.m_eKind)
    {
    case SLumFastStep::MARKER:
        // With the debugger in debug mode the marker goes to its handler, which stops
        // there or counts the line; otherwise it only notes the line for messages.
        basic.NoteMarker(step.m_nLine);
        return basic.m_fDebugMode && basic.m_pDebugger != nullptr && !step.m_fMarkerFollows
                   ? CountLine<false>(basic, step)
                   : GO_ON;
    case SLumFastStep::ASSIGN:
        return Assign(basic, step);
    case SLumFastStep::ASSIGN_ELEMENT:
        return AssignElement(basic, step);
    case SLumFastStep::NEXT:
        return Next(basic, step);
    case SLumFastStep::CALL:
        return Call(basic, step);
    case SLumFastStep::SUB:
        return Head(basic, step);
    case SLumFastStep::END:
        return End(basic, step);
    case SLumFastStep::FOR:
        return For(basic, step);
    case SLumFastStep::SLOW:
        return HANDLER;
    default:
        return Branch(basic, step);
    }
}

// A marker in debug mode does what its handler does, SetDebugInfo, where the debugger
// can only count the line: the hit costs no dispatch. Where a window might stop there,
// the handler does that in its frame. Where nothing can change that before the next
// statement that is not pure, the run loop adds up the following hits.
template <bool fAddingUp>
LUM_HOT CLumFastForm::EOutcome CLumFastForm::CountLine(CLumBasic& basic, SLumFastStep& step)
{
    // An unlinked marker while hits are added up: the mark it reads must be current.
    if (!fAddingUp && m_pAddingUpFor != nullptr)
        HandInHits();
    CLumBasicDebugger& debugger = *basic.m_pDebugger;
    uint32_t nTurns = fAddingUp ? debugger.FollowTurnsNow() : 0;
    if (!debugger.OnlyCounts())
        return HANDLER;
    // The handler finds its cursor behind the marker's token.
    if (!step.m_fMarkerUncounted && basic.EntersLine(step.m_nLine, step.m_pAt + 2))
    {
        debugger.CountLine(step.m_nLine);
        // Not ahead of a statement that would hand in at once.
        if (fAddingUp && !step.m_pNext->m_fHandsIn && debugger.MayOnlyCountOn())
            StartAddingUp(basic, debugger, step, nTurns);
    }
    return GO_ON;
}

void CLumFastForm::StartAddingUp(CLumBasic& basic, CLumBasicDebugger& debugger, SLumFastStep& step,
                                 uint32_t nTurns)
{
    m_pAddingUpFor = &debugger;
    m_pAddingUp = debugger.CountsInto();
    m_pMarkAt = &step;
    m_pLastEntered = &step;
    m_pAddingUpMark = &basic.m_cCallStack.LineMark();
    m_pTurns = debugger.FollowTurns();
    m_nTurnsSeen = nTurns;
}

// A marker passes the line mark as EntersLine would, against the last marker passed,
// which stands for the mark; a hit of a line that has its entry is added up on the
// marker. All markers passed are of the running level and of this form's image: a
// statement that might call or return hands in first.
LUM_HOT void CLumFastForm::AddUpHit(SLumFastStep& step)
{
    if (step.m_fMarkerPassive)
        return;
    const SLumFastStep& last = *m_pMarkAt;
    bool fEnters = last.m_nLine != step.m_nLine || step.m_pAt <= last.m_pAt;
    m_pMarkAt = &step;
    if (!fEnters)
        return;
    m_pLastEntered = &step;
    if (step.m_nAddedUp != 0)
        ++step.m_nAddedUp;
    else if (m_pAddingUp != nullptr)
        AddFirstHit(step);
}

// The first hit of a line is counted at once, so that the profile takes new lines in
// the order the run meets them; so is a hit whose marker leads to a statement that
// hands in at once, where adding up would cost more.
void CLumFastForm::AddFirstHit(SLumFastStep& step)
{
    if (step.m_pNext->m_fHandsIn || !m_pAddingUp->HasSlot(step.m_nLine))
    {
        m_pAddingUp->CountHit(step.m_nLine);
        return;
    }
    if (m_nAddedUpCount == m_aAddedUp.size())
        AddedUpMore(&step);
    m_aAddedUp[m_nAddedUpCount++] = &step;
    step.m_nAddedUp = 1;
}

void CLumFastForm::AddedUpMore(SLumFastStep* pMarker)
{
    m_aAddedUp.resize(std::max<size_t>(16, 2 * m_aAddedUp.size()), pMarker);
}

// In the order of the closed run's first hits: a line without an entry gets it now,
// after those of the sums, whose lines all have one. Nothing is allocated but those
// entries: with the list full, a hit goes to the profiler at once.
void CLumFastForm::AddUpClosedHits() noexcept
{
    for (size_t i = 0; i < m_nCounted; ++i)
    {
        SLumFastStep& marker = *m_aCounted[i];
        uint32_t nHits = marker.m_nHits;
        marker.m_nHits = 0;
        if (m_pAddingUp == nullptr || nHits == 0)
            continue;
        if (marker.m_nAddedUp != 0)
            marker.m_nAddedUp += nHits;
        else if (m_nAddedUpCount < m_aAddedUp.size() && m_pAddingUp->HasSlot(marker.m_nLine))
        {
            m_aAddedUp[m_nAddedUpCount++] = &marker;
            marker.m_nAddedUp = nHits;
        }
        else
            m_pAddingUp->CountHits(marker.m_nLine, nHits);
    }
    m_nCounted = 0;
    if (m_pLastCounted != nullptr)
        m_pLastEntered = m_pLastCounted;
    m_pLastCounted = nullptr;
}

// Only lines with entries were added up: handing them in allocates nothing.
void CLumFastForm::HandInHits() noexcept
{
    CLumBasicDebugger& debugger = *m_pAddingUpFor;
    m_pAddingUpFor = nullptr;
    const SLumFastStep& last = *m_pMarkAt;
    m_pAddingUpMark->m_pAt = last.m_pAt + 2;
    m_pAddingUpMark->m_nLine = last.m_nLine;
    debugger.NoteLine(m_pLastEntered->m_nLine);
    for (size_t i = 0; i < m_nAddedUpCount; ++i)
    {
        SLumFastStep& marker = *m_aAddedUp[i];
        uint32_t nHits = marker.m_nAddedUp;
        marker.m_nAddedUp = 0;
        m_pAddingUp->CountHits(marker.m_nLine, nHits);
    }
    m_nAddedUpCount = 0;
}

template <bool fAddingUp> LUM_HOT bool CLumFastForm::PassMarker(CLumBasic& basic, SLumFastStep& step)
{
    if (fAddingUp && m_pAddingUpFor != nullptr)
    {
        // Nothing that ran since the hits began to be added up could switch counting; a
        // window may have turned to following the lines, and is asked here then.
        if (m_pTurns == nullptr || m_pTurns->load(std::memory_order_acquire) == m_nTurnsSeen)
        {
            AddUpHit(step);
            return true;
        }
        HandInHits();
    }
    return !basic.m_fDebugMode || step.m_fMarkerFollows || basic.m_pDebugger == nullptr ||
           CountLine<fAddingUp>(basic, step) == GO_ON;
}

// Whether a step runs no code of the program, no module's, no host's and no debugger's,
// all of which might look at the counts: it only computes and moves along its links.
bool CLumFastForm::IsPureStep(const SLumFastStep& step)
{
    switch (step.m_eKind)
    {
    case SLumFastStep::MARKER:
    case SLumFastStep::NEXT:
    case SLumFastStep::ELSE:
    case SLumFastStep::ENDIF:
    case SLumFastStep::WEND:
    case SLumFastStep::DO:
        return true;
    case SLumFastStep::ASSIGN:
    case SLumFastStep::ASSIGN_ELEMENT:
    case SLumFastStep::IF:
    case SLumFastStep::WHILE:
    case SLumFastStep::LOOP:
        return !step.m_fCommitted;
    default:
        return false;
    }
}

// The handler opens the loop. Its counter, the variables of its bounds and the statement
// behind it are found here for closed runs, which take the loop on themselves. Out of
// the run loop's way: every nested run of a recursion stacks that loop's frame.
CLumFastForm::EOutcome CLumFastForm::For(CLumBasic& basic, SLumFastStep& step)
{
    basic.CachedVar(step.m_cTarget, step.m_pszName);
    FindVariables(basic, step.m_pExpr);
    for (SLumFastExpr* pExpr : step.m_apArgs)
        FindVariables(basic, pExpr);
    if (step.m_pNext == nullptr)
        Follow(basic, step.m_pEnd, step.m_pNext);
    return HANDLER;
}

// The variables of a tree that the handler computes, found as the fast form would find
// them, so that a closed run can compute it later.
void CLumFastForm::FindVariables(CLumBasic& basic, SLumFastExpr* pExpr)
{
    if (pExpr == nullptr)
        return;
    if (pExpr->m_eOp == SLumFastExpr::VARIABLE)
        Variable(basic, *pExpr);
    else if (pExpr->m_eOp == SLumFastExpr::OPERATOR)
    {
        FindVariables(basic, pExpr->m_pLeft);
        FindVariables(basic, pExpr->m_pRight);
    }
    else if (pExpr->m_fBuiltin || pExpr->m_eOp == SLumFastExpr::ELEMENT)
        for (SLumFastExpr* pArg : pExpr->m_apIndices)
            FindVariables(basic, pArg);
}

const CLumsVarValue* CLumFastForm::Variable(CLumBasic& basic, SLumFastExpr& expr)
{
    if (CLumsVarValue* pValue = Cached(expr.m_cCache))
        return pValue;
    return basic.CachedVar(expr.m_cCache, expr.m_pszName);
}

bool CLumFastForm::EvalNumber(CLumBasic& basic, SLumFastExpr& expr, SLumNumber& out)
{
    switch (expr.m_eOp)
    {
    case SLumFastExpr::CONSTANT:
    case SLumFastExpr::VARIABLE:
        return Leaf(basic, expr, out);
    case SLumFastExpr::OPERATOR:
        return EvalOperator(basic, expr, out);
    case SLumFastExpr::ELEMENT:
        return LumFastNumber(*Element(basic, expr), out);
    default:
        return EvalOtherNumber(basic, expr, out);
    }
}

// An assignment of a number to a variable found before goes straight into it; every
// other assignment takes the way of values.
LUM_HOT CLumFastForm::EOutcome CLumFastForm::Assign(CLumBasic& basic, SLumFastStep& step)
{
    if (!step.m_fNumberToNumber)
    {
        if (step.m_fCommitted)
            return AssignCommitted(basic, step);
        return step.m_pAppendTo != nullptr ? AssignAppend(basic, step) : AssignValue(basic, step);
    }
    CLumsVarValue* pTarget = Cached(step.m_cTarget);
    if (pTarget == nullptr || basic.m_cFunctionStack.IsEmpty())
        return AssignValue(basic, step);
    SLumNumber n;
    if (!EvalStatement(basic, *step.m_pExpr, n))
        return HANDLER;
    LumFastStore(*pTarget, n, step.m_cType);
    return GO_ON;
}

// Next as its handler does it, for a counter, a step and an end that are numbers.
LUM_HOT CLumFastForm::EOutcome CLumFastForm::Next(CLumBasic& basic, SLumFastStep& next)
{
    CLumCmdStack& stack = basic.m_cCmdStack;
    if (stack.IsEmpty() || stack.Top()->m_nKind != 1)
        return HANDLER;
    CmdData* pCmd = stack.Top();
    // A cache holds only variables that exist, never a name's null value.
    CLumsVarValue* pCounter = Cached(pCmd->m_cCounter);
    if (pCounter == nullptr)
    {
        pCounter = basic.CachedVar(pCmd->m_cCounter, pCmd->m_pszVarName);
        if (pCounter == nullptr || CLumVariables::IsNullValue(pCounter))
            return HANDLER;
    }
    SLumNumber counter, step, end;
    if (!LumFastNumber(*pCounter, counter) || !LumFastNumber(*pCmd->m_pStepValue, step) ||
        !LumFastNumber(*pCmd->m_pEndValue, end))
        return HANDLER;
    LumFastOperate(LBT_PLUS, counter, step, counter);
    bool fPast = LumFastPastEnd(counter, end, step);
    LumFastStore(*pCounter, counter, counter.m_fDouble ? 0 : '%');
    // Another pass: the rest of the loop may run closed, unless its closed runs gave up.
    if (!fPast)
        return __builtin_expect(pCmd->m_nClosedTries < MAX_LOOP_TRIES, 0) ? RunClosedLoop(basic, next, *pCmd)
                                                                          : JUMP;
    // The last increment stays in the store.
    delete stack.Pop();
    return GO_ON;
}

bool CLumFastForm::Condition(CLumBasic& basic, SLumFastStep& step, bool& fTrue)
{
    if (step.m_fCommitted)
    {
        ConditionCommitted(basic, step, fTrue);
        return true;
    }
    if (step.m_fNumeric)
    {
        SLumNumber n;
        if (!EvalStatement(basic, *step.m_pExpr, n))
            return false;
        fTrue = LumFastTruth(n);
        return true;
    }
    CLumsVarValue value;
    EvalValue(basic, *step.m_pExpr, value);
    fTrue = value.IsTrue();
    return true;
}

// If, Else, End If, While, Wend, Do and Loop, with the records of If as their
// handlers keep them.
CLumFastForm::EOutcome CLumFastForm::Branch(CLumBasic& basic, SLumFastStep& step)
{
    CLumCmdStack& stack = basic.m_cCmdStack;
    bool fTrue = false;
    switch (step.m_eKind)
    {
    case SLumFastStep::IF:
    {
        if (stack.GetCount() >= CLumBasic::MAX_OPEN_COMMANDS || !Condition(basic, step, fTrue))
            return HANDLER;
        CmdData* pCmd = new CmdData();
        pCmd->m_fCondition = fTrue;
        stack.Push(pCmd);
        return fTrue ? GO_ON : JUMP;
    }
    case SLumFastStep::ELSE:
        if (stack.IsEmpty() || stack.Top()->m_nKind != 0)
            return HANDLER;
        return stack.Top()->m_fCondition ? JUMP : GO_ON;
    case SLumFastStep::ENDIF:
        if (stack.IsEmpty())
            return HANDLER;
        delete stack.Pop();
        return GO_ON;
    case SLumFastStep::WHILE:
        if (!Condition(basic, step, fTrue))
            return HANDLER;
        return fTrue ? GO_ON : JUMP;
    case SLumFastStep::WEND:
        return JUMP;
    case SLumFastStep::DO:
        return GO_ON;
    case SLumFastStep::LOOP:
        if (!Condition(basic, step, fTrue))
            return HANDLER;
        // Loop While goes on while the condition holds; every other kind is Until.
        return fTrue == (step.m_wLoopKind == LBT_WHILE) ? JUMP : GO_ON;
    default:
        return HANDLER;
    }
}

// Runs statements along the links for as long as they run here. Gives the statement
// for the handler, or null where the links end, with the raw position in `pLeaveAt`,
// or where a statement ended the run loop, with `nResult` set. Whatever fails in a
// statement sends it to its handler: nothing was changed before.
// Inlined into Run: a nested run of a recursion stacks no frame of its own for it.
LUM_HOT SLumFastStep* CLumFastForm::RunSteps(CLumBasic& basic, SLumFastStep* pStep, unsigned char*& pLeaveAt,
                                             int& nResult)
{
    // Near the nesting limit of expressions, where a statement's own expression or an
    // index might pass it, the handlers run every statement and report it at its place.
    if (CLumDepthGuard::GetDepth(CLumDepthGuard::EXPRESSION) + 1 + MAX_LEVELS > CLumExpression::MAX_NESTING)
        return pStep;
    // A plain run pays nothing for the adding up of hits.
    if (basic.m_fDebugMode && basic.m_pDebugger != nullptr)
        return RunStepsCounting(basic, pStep, pLeaveAt, nResult);
    return RunStepsOf<false>(basic, pStep, pLeaveAt, nResult);
}

// Whatever way the run of steps ends, the hits added up go to the profiler.
SLumFastStep* CLumFastForm::RunStepsCounting(CLumBasic& basic, SLumFastStep* pStep, unsigned char*& pLeaveAt,
                                             int& nResult)
{
    struct SHandIn
    {
        CLumFastForm& m_form;
        ~SHandIn()
        {
            if (m_form.m_pAddingUpFor != nullptr)
                m_form.HandInHits();
        }
    } handIn{*this};
    // A run of another level inside a statement that did not hand in.
    if (m_pAddingUpFor != nullptr)
        HandInHits();
    return RunStepsOf<true>(basic, pStep, pLeaveAt, nResult);
}

template <bool fAddingUp>
SLumFastStep* CLumFastForm::RunStepsOf(CLumBasic& basic, SLumFastStep* pStep, unsigned char*& pLeaveAt,
                                       int& nResult)
{
    CLumBasicFile& file = *basic.m_pQuelle;
    int nDepth = file.GetStackDepth();
    CLumBasic::SLumRunBudget& budget = *basic.m_pBudget;
    m_pStore = basic.m_pVariables;
    m_nScope = basic.m_cFunctionStack.GetScope();
    try
    {
        for (;;)
        {
            // Counted before it runs, as the run loop counts before the dispatch: the
            // statements of functions it calls come after it.
            if (budget.IsWatched() && !budget.Admit())
                return pStep; // the run loop's count fails it
            // A line marker, every other statement, only notes its line unless the
            // debugger wants it: straight on to the statement it was linked to.
            // Where the debugger only counts, the marker counts its line here, without
            // the dispatch of Execute.
            if (pStep->m_eKind == SLumFastStep::MARKER && pStep->m_pNext != nullptr &&
                PassMarker<fAddingUp>(basic, *pStep))
            {
                basic.NoteMarker(pStep->m_nLine);
                pStep = pStep->m_pNext;
                continue;
            }
            if (fAddingUp && pStep->m_fHandsIn && m_pAddingUpFor != nullptr)
                HandInHits();
            EOutcome eOutcome = Execute(basic, *pStep);
            // The links already made, first: most statements lead on, the rest jump.
            SLumFastStep* pLinked = eOutcome == GO_ON  ? pStep->m_pNext
                                    : eOutcome == JUMP ? pStep->m_pTaken
                                                       : nullptr;
            if (pLinked != nullptr)
            {
                pStep = pLinked;
                continue;
            }
            if (eOutcome == HANDLER)
            {
                budget.TakeBack(); // the handler's dispatch admits it
                return pStep;
            }
            if (eOutcome == STOP)
            {
                nResult = 1;
                return nullptr;
            }
            SLumFastStep* pNext = NextStep(basic, *pStep, eOutcome, pLeaveAt);
            if (pNext == nullptr)
                return nullptr;
            pStep = pNext;
        }
    }
    catch (...)
    {
        if (pStep->m_fCommitted)
            throw; // it failed with its frames, after functions of the program ran
        budget.TakeBack();
        while (file.GetStackDepth() > nDepth)
            file.SetMemoryMode(nullptr);
        return pStep;
    }
}

// The statement an outcome leads to, linked once found; null where the links end,
// with the raw position in `pRaw`.
SLumFastStep* CLumFastForm::NextStep(CLumBasic& basic, SLumFastStep& step, EOutcome eOutcome,
                                     unsigned char*& pRaw)
{
    SLumFastStep** ppLink;
    switch (eOutcome)
    {
    case JUMP:
        pRaw = step.m_pJump;
        ppLink = &step.m_pTaken;
        break;
    case CALLED:
        pRaw = step.m_pInfo->m_pCode;
        ppLink = &step.m_pCallee;
        break;
    case ENTERED:
        pRaw = step.m_pCallee->m_pEnd;
        ppLink = &step.m_pCallee->m_pNext;
        break;
    case RETURN:
        if (m_pReturnTo == nullptr)
        {
            SLumFastStep* pLink = nullptr;
            pRaw = basic.m_pQuelle->GetPosition();
            return Follow(basic, pRaw, pLink);
        }
        pRaw = m_pReturnTo->m_pEnd;
        ppLink = &m_pReturnTo->m_pNext;
        break;
    default:
        pRaw = step.m_pEnd;
        ppLink = &step.m_pNext;
        break;
    }
    return *ppLink != nullptr ? *ppLink : Follow(basic, pRaw, *ppLink);
}
