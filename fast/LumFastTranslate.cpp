// How a statement of the image becomes a statement of the fast form. Operands are read
// with the cursor's own checks; whatever the handler would refuse, and whatever the
// form does not cover, stays a statement for the handler.
#include "fast/LumFastForm.h"

#include <lumbasic/LumBasic.h>

#include "core/LumFrame.h"
#include "expr/LumExpression.h"
#include "expr/LumReadCache.h"

#include <algorithm>
#include <cstring>
#include <exception>

namespace
{
// The byte in front of the first ":", else the last one.
char TypeChar(const char* psz, size_t n)
{
    const char* pColon = static_cast<const char*>(memchr(psz, ':', n));
    size_t nName = pColon ? static_cast<size_t>(pColon - psz) : n;
    return nName > 0 ? psz[nName - 1] : '\0';
}

bool IsPureFunction(unsigned short wToken)
{
    switch (wToken)
    {
#define LUM_PURE_CASE(token, method) case LBT_##token:
        LUM_FUNCTION_HANDLERS(LUM_PURE_CASE)
#undef LUM_PURE_CASE
        return wToken != LBT_USERFUNCTION;
    default:
        return false;
    }
}

// Built-ins whose result is a number.
bool GivesNumber(unsigned short wToken)
{
    switch (wToken)
    {
    case LBT_ABS:
    case LBT_SGN:
    case LBT_ASC:
    case LBT_LEN:
    case LBT_VAL:
    case LBT_FIX:
    case LBT_FRAC:
    case LBT_INSTR:
    case LBT_ROUND:
        return true;
    default:
        return false;
    }
}

// Built-ins whose arguments and result are numbers.
bool TakesNumbers(unsigned short wToken)
{
    switch (wToken)
    {
    case LBT_ABS:
    case LBT_SGN:
    case LBT_FIX:
    case LBT_FRAC:
    case LBT_ROUND:
        return true;
    default:
        return false;
    }
}

bool IsNumericOperator(unsigned short wToken)
{
    return wToken >= LBT_AND && wToken <= LBT_DIV && (wToken & 0xFF) == 0x82;
}
} // namespace

SLumFastStep* CLumFastForm::StepAt(CLumBasic& basic, unsigned char* pAt)
{
    if (SLumFastStep** pp = m_mapSteps.Find(pAt))
        return *pp;
    m_aSteps.push_back(std::make_unique<SLumFastStep>());
    SLumFastStep& step = *m_aSteps.back();
    step.m_pAt = pAt;
    // Reading the statement's trees converts their constants, which the regular way
    // does only once the statement has been admitted: a memory budget must not end the
    // run a statement earlier for them.
    int64_t nBefore = LumValueBytes();
    Translate(basic, step);
    if ((basic.m_pBudget->m_nWatch.load(std::memory_order_relaxed) & CLumBasic::SLumRunBudget::MEMORY) != 0)
        basic.m_pBudget->CountFromNextStatement(LumValueBytes() - nBefore);
    m_mapSteps.Insert(pAt, &step);
    return &step;
}

// The cursor reads the statement where it stands and is put back afterwards, with its
// memory-mode positions as they were, whatever the reading met.
void CLumFastForm::Translate(CLumBasic& basic, SLumFastStep& step)
{
    CLumBasicFile& file = *basic.m_pQuelle;
    unsigned char* pBefore = file.GetPosition();
    int nDepth = file.GetStackDepth();
    bool fRead = LumSucceeds([&] {
        file.MoveTo(step.m_pAt);
        step.m_wToken = file.GetToken();
        TranslateOperands(basic, step);
        step.m_pEnd = file.GetPosition();
        // Address arithmetic as Seek does it: a skip may lead anywhere, and leaving the
        // image shows at the next read.
        step.m_pJump = reinterpret_cast<unsigned char*>(reinterpret_cast<uintptr_t>(step.m_pEnd) +
                                                        static_cast<uintptr_t>(step.m_nSkip));
    });
    // A Wend goes back onto its While; anything else is the handler's to refuse.
    if (fRead && step.m_eKind == SLumFastStep::WEND &&
        (!file.CanReadAt(step.m_pJump, 2) || (step.m_pJump[0] | (step.m_pJump[1] << 8)) != LBT_WHILE))
        fRead = false;
    if (!fRead)
        step.m_eKind = SLumFastStep::SLOW;
    step.m_fMarkerPassive = step.m_fMarkerFollows || step.m_fMarkerUncounted;
    // A call run whole runs nothing that could look: a call hands in where it takes the
    // regular way (Call), which it then notes here for the next time.
    step.m_fHandsIn = !IsPureStep(step) && step.m_eKind != SLumFastStep::CALL;

    while (file.GetStackDepth() > nDepth)
        file.SetMemoryMode(nullptr);
    file.MoveTo(pBefore);
}

void CLumFastForm::TranslateOperands(CLumBasic& basic, SLumFastStep& step)
{
    CLumBasicFile& file = *basic.m_pQuelle;
    SLumFastStep::EKind eKind = SLumFastStep::SLOW;
    switch (step.m_wToken)
    {
    case LBT_DEBUGINFO:
        step.m_nLine = file.GetDWord();
        step.m_fMarkerFollows = file.PeekToken() == LBT_DEBUGINFO;
        step.m_fMarkerUncounted = file.PeekToken() == LBT_DECLARE || file.PeekToken() == LBT_SUB ||
                                  file.PeekToken() == LBT_FUNCTION;
        eKind = SLumFastStep::MARKER;
        break;
    case LBT_ASSIGN:
    case LBT_EQ:
    {
        unsigned short wTarget = file.GetToken();
        if (wTarget == LBT_NAME)
        {
            step.m_pszName = file.GetCountedText();
            step.m_cType = TypeChar(step.m_pszName, strlen(step.m_pszName));
            eKind = SLumFastStep::ASSIGN;
        }
        else if (wTarget == LBT_EXPRESSION)
        {
            step.m_pTarget = ReadTree(basic, false);
            // Only the element of an array whose name is asked for: NameOf(a(i)).
            if (step.m_pTarget == nullptr || step.m_pTarget->m_eOp != SLumFastExpr::ELEMENT_NAME)
                return;
            step.m_cType = step.m_pTarget->m_cType;
            eKind = SLumFastStep::ASSIGN_ELEMENT;
        }
        else
            return;
        step.m_pExpr = ReadExpression(basic, true, eKind == SLumFastStep::ASSIGN);
        break;
    }
    case LBT_IF:
    case LBT_WHILE:
        if (!ReadSkip(file, step, true))
            return;
        step.m_pExpr = ReadExpression(basic, true, true);
        eKind = step.m_wToken == LBT_IF ? SLumFastStep::IF : SLumFastStep::WHILE;
        break;
    case LBT_ELSE:
        if (!ReadSkip(file, step, true))
            return;
        eKind = SLumFastStep::ELSE;
        break;
    case LBT_ENDIF:
        eKind = SLumFastStep::ENDIF;
        break;
    case LBT_WEND:
        ReadSkip(file, step, false);
        eKind = SLumFastStep::WEND;
        break;
    case LBT_DO:
        eKind = SLumFastStep::DO;
        break;
    case LBT_LOOP:
        step.m_wLoopKind = file.GetToken();
        ReadSkip(file, step, false);
        step.m_pExpr = ReadExpression(basic, true, true);
        eKind = SLumFastStep::LOOP;
        break;
    case LBT_NEXT:
        ReadSkip(file, step, false);
        eKind = SLumFastStep::NEXT;
        break;
    case LBT_FOR:
    {
        // Only a loop whose start, end and step compute: closed runs take it on.
        step.m_pszName = file.GetCountedText();
        step.m_cType = TypeChar(step.m_pszName, strlen(step.m_pszName));
        step.m_pExpr = ReadExpression(basic, true, false);
        SLumFastExpr* pEnd = step.m_pExpr != nullptr ? ReadExpression(basic, true, false) : nullptr;
        // A constant start that is no number (a damaged image's) the handler stores as it
        // is, where a closed run would store the 0 it reads as.
        if (pEnd == nullptr || (step.m_pExpr->m_eOp == SLumFastExpr::CONSTANT &&
                                !step.m_pExpr->m_pNode->GetConstant().IsNumber()))
            return;
        step.m_apArgs.push_back(pEnd);
        if (file.PeekToken() == LBT_EXPRESSION)
        {
            SLumFastExpr* pStep = ReadExpression(basic, true, false);
            if (pStep == nullptr)
                return;
            step.m_apArgs.push_back(pStep);
        }
        eKind = SLumFastStep::FOR;
        break;
    }
    case LBT_CALL:
        TranslateCall(basic, step);
        eKind = SLumFastStep::CALL;
        break;
    case LBT_SUB:
    case LBT_FUNCTION:
        TranslateHead(file, step);
        eKind = SLumFastStep::SUB;
        break;
    case LBT_END:
        step.m_wLoopKind = file.GetToken();
        eKind = SLumFastStep::END;
        break;
    default:
        return;
    }
    bool fNeedsExpr = eKind == SLumFastStep::ASSIGN || eKind == SLumFastStep::ASSIGN_ELEMENT ||
                      eKind == SLumFastStep::IF || eKind == SLumFastStep::WHILE ||
                      eKind == SLumFastStep::LOOP || eKind == SLumFastStep::FOR;
    if (fNeedsExpr && step.m_pExpr == nullptr)
        return;
    SetDepths(step.m_pExpr, 0, 0);
    SetDepths(step.m_pTarget, 0, 0);
    for (SLumFastExpr* pArg : step.m_apArgs)
        SetDepths(pArg, 0, 0);
    step.m_fNumeric = step.m_pExpr != nullptr && IsNumeric(step.m_pExpr);
    step.m_fCommitted = step.m_pExpr != nullptr && !step.m_pExpr->m_fPure;
    step.m_fNumberToNumber = !step.m_fCommitted && step.m_fNumeric && step.m_cType != '$';
    step.m_eKind = eKind;
    if (eKind == SLumFastStep::ASSIGN && step.m_cType == '$' && !step.m_fCommitted)
        FindAppendedParts(step);
}

void CLumFastForm::FindAppendedParts(SLumFastStep& step)
{
    std::vector<SLumFastExpr*> apParts;
    SLumFastExpr* pExpr = step.m_pExpr;
    while (pExpr->m_eOp == SLumFastExpr::OPERATOR && pExpr->m_wToken == LBT_PLUS &&
           apParts.size() < MAX_APPENDED)
    {
        apParts.insert(apParts.begin(), pExpr->m_pRight);
        pExpr = pExpr->m_pLeft;
    }
    size_t nName = strlen(step.m_pszName);
    if (apParts.empty() || pExpr->m_eOp != SLumFastExpr::VARIABLE || pExpr->m_nNameLength != nName ||
        memcmp(pExpr->m_pszName, step.m_pszName, nName) != 0)
        return;
    step.m_pAppendTo = pExpr;
    step.m_apParts = std::move(apParts);
}

// A skip is relative to the end of the statement's operands, which for If and While
// lie behind their condition: the jump is worked out once the statement is read.
bool CLumFastForm::ReadSkip(CLumBasicFile& file, SLumFastStep& step, bool fForward)
{
    step.m_nSkip = file.GetDWord();
    return !fForward || step.m_nSkip >= 0;
}

// An expression behind its LBT_EXPRESSION token, its tree taken from the cursor's cache
// or read into it. Null when the expression might do more than compute a value.
SLumFastExpr* CLumFastForm::ReadExpression(CLumBasic& basic, bool fValue, bool fCalls)
{
    return basic.m_pQuelle->GetToken() == LBT_EXPRESSION ? ReadTree(basic, fValue, fCalls) : nullptr;
}

SLumFastExpr* CLumFastForm::ReadTree(CLumBasic& basic, bool fValue, bool fCalls)
{
    CLumBasicFile& file = *basic.m_pQuelle;
    unsigned char* pStart = file.GetPosition();
    CLumReadCache& cache = file.GetReadCache();
    CLumTermNode* pRoot;
    if (const CLumReadCache::Tree* pTree = cache.FindTree(pStart))
    {
        pRoot = pTree->m_pRoot;
        file.MoveTo(pTree->m_pEnd);
    }
    else if (m_fCachedOnly)
        return nullptr;
    else
    {
        CLumExpression cExpression(&file, basic.m_pVariables, &basic);
        pRoot = cExpression.ReadTree();
        cache.AddTree(pStart, pRoot, file.GetPosition());
    }
    if (!fCalls && !IsPure(pRoot))
        return nullptr;
    return Compile(basic, pRoot, fValue);
}

// Whether evaluating a tree only computes: no function of the program, no module's
// function, no message box. A function node's arguments stand inside its data, so the
// data is searched for the head of a function node, which may also turn up by chance
// inside a constant and then only costs the fast form.
bool CLumFastForm::IsPure(const CLumTermNode* pNode)
{
    if (pNode == nullptr)
        return true;
    if (pNode->GetKind() == LBN_FUNCTION && !IsPureFunction(pNode->GetDataWord(0)))
        return false;
    const unsigned char* p = pNode->GetData();
    size_t n = pNode->GetDataLength();
    for (size_t i = 0; i + 6 <= n; ++i)
        if ((p[i] & 0x7F) == (LBN_FUNCTION & 0x7F) && p[i + 1] == (LBN_FUNCTION >> 8) &&
            !IsPureFunction(static_cast<unsigned short>(p[i + 4] | (p[i + 5] << 8))))
            return false;
    return IsPure(pNode->m_pLeft) && IsPure(pNode->m_pRight);
}

SLumFastExpr* CLumFastForm::Compile(CLumBasic& basic, CLumTermNode* pNode, bool fValue)
{
    m_aExprs.push_back(std::make_unique<SLumFastExpr>());
    SLumFastExpr& expr = *m_aExprs.back();
    expr.m_pNode = pNode;
    expr.m_fPure = IsPure(pNode);
    const char* pszData = reinterpret_cast<const char*>(pNode->GetData());
    switch (pNode->GetKind())
    {
    case LBN_CONSTANT:
        expr.m_eOp = SLumFastExpr::CONSTANT;
        expr.m_fNumber = LumFastNumber(pNode->GetConstant(), expr.m_cNumber);
        break;
    case LBN_VARIABLE:
        if (pNode->IsNameWanted())
            break;
        expr.m_eOp = SLumFastExpr::VARIABLE;
        expr.m_pszName = pszData;
        expr.m_nNameLength = pNode->GetNameLength();
        expr.m_cType = TypeChar(pszData, expr.m_nNameLength);
        break;
    case LBN_ARRAY:
        if (!CompileElement(basic, expr) || (pNode->IsNameWanted() && fValue))
        {
            // The machinery counts the levels of what it computes itself.
            expr.m_eOp = SLumFastExpr::OTHER;
            expr.m_nLevels = 0;
        }
        break;
    case LBN_OPERATOR:
        if (!IsNumericOperator(pNode->GetDataWord(0)))
            break;
        expr.m_eOp = SLumFastExpr::OPERATOR;
        expr.m_wToken = pNode->GetDataWord(0);
        expr.m_pLeft = Compile(basic, pNode->m_pLeft, true);
        expr.m_pRight = Compile(basic, pNode->m_pRight, true);
        break;
    case LBN_FUNCTION:
        expr.m_wToken = pNode->GetDataWord(0);
        if (expr.m_wToken == LBT_USERFUNCTION && !CompileCall(basic, expr))
            expr.m_eOp = SLumFastExpr::OTHER;
        else if (expr.m_fPure && BuiltinKinds(expr.m_wToken) != nullptr)
        {
            // Its arguments are read once the machinery has computed it; inside one
            // read so, at once.
            expr.m_fBuiltin = true;
            expr.m_fTakesNumbers = TakesNumbers(expr.m_wToken);
            if (m_fCachedOnly)
                CompileBuiltin(basic, expr);
        }
        break;
    default:
        break;
    }
    if (expr.m_eOp == SLumFastExpr::OPERATOR)
        expr.m_nLevels = std::max(expr.m_pLeft->m_nLevels, expr.m_pRight->m_nLevels);
    // As a value, only an operator's number can stand for the value: a leaf or a
    // function may give the empty value, which a number would lose.
    expr.m_fNumericValue = expr.m_eOp == SLumFastExpr::OPERATOR && IsNumeric(&expr);
    expr.m_fText = MayGiveText(expr);
    return &expr;
}

// An array node: its name up to the first index mark, then up to six indices, each an
// LBT_INDEX and an expression, read as GetIndices reads them.
bool CLumFastForm::CompileElement(CLumBasic& basic, SLumFastExpr& expr)
{
    CLumTermNode* pNode = expr.m_pNode;
    const char* pszData = reinterpret_cast<const char*>(pNode->GetData());
    size_t nName = strnlen(pszData, pNode->GetNameLength());
    if (nName == 0 || pszData[0] == '@')
        return false;
    expr.m_eOp = pNode->IsNameWanted() ? SLumFastExpr::ELEMENT_NAME : SLumFastExpr::ELEMENT;
    expr.m_pszName = pszData;
    expr.m_nNameLength = static_cast<unsigned>(nName);
    expr.m_cType = pszData[nName - 1];
    CLumBasicFile& file = *basic.m_pQuelle;
    file.SetMemoryMode(pNode->GetData() + pNode->GetNameLength());
    bool fPure = true;
    while (fPure && expr.m_apIndices.size() < CLumVariables::MAX_INDICES && file.GetToken() == LBT_INDEX)
    {
        SLumFastExpr* pIndex = ReadExpression(basic, true);
        fPure = pIndex != nullptr;
        expr.m_apIndices.push_back(pIndex);
    }
    file.SetMemoryMode(nullptr);
    // Each index is an expression of its own for the regular way.
    for (const SLumFastExpr* pIndex : expr.m_apIndices)
        if (pIndex != nullptr)
            expr.m_nLevels = std::max<uint8_t>(expr.m_nLevels, pIndex->m_nLevels + 1);
    return fPure && expr.m_nLevels <= MAX_LEVELS;
}

// A call of the program's function: its name, then its arguments, read as Call and
// PushParams read them from the node's data.
bool CLumFastForm::CompileCall(CLumBasic& basic, SLumFastExpr& expr)
{
    CLumBasicFile& file = *basic.m_pQuelle;
    file.SetMemoryMode(expr.m_pNode->GetData() + 2);
    bool fRead = LumSucceeds([&] {
        expr.m_pszName = file.GetCountedText();
        while (file.GetToken() == LBT_EXPRESSION)
        {
            SLumFastExpr* pArg = ReadTree(basic, true, true);
            if (pArg == nullptr)
                throw std::exception();
            expr.m_apIndices.push_back(pArg);
        }
        expr.m_pArgsEnd = file.GetPosition() - 2;
    });
    file.SetMemoryMode(nullptr);
    if (fRead)
        expr.m_eOp = SLumFastExpr::USERCALL;
    return fRead;
}

// A built-in the form computes itself: its arguments read as its handler reads them
// (GetArg, and HasArg for the optional ones), each an expression that only computes.
// False where that fails, or where such built-ins stand deeper inside each other than
// the form follows; the built-in then stays the machinery's.
bool CLumFastForm::CompileBuiltin(CLumBasic& basic, SLumFastExpr& expr)
{
    expr.m_fArgsRead = true;
    CLumBasicFile& file = *basic.m_pQuelle;
    size_t nMost = strlen(BuiltinKinds(expr.m_wToken));
    ++m_nBuiltinsRead;
    file.SetMemoryMode(expr.m_pNode->GetData() + 2);
    bool fRead = m_nBuiltinsRead <= MAX_LEVELS && LumSucceeds([&] {
                     do
                     {
                         SLumFastExpr* pArg =
                             file.GetToken() == LBT_EXPRESSION ? ReadTree(basic, true) : nullptr;
                         if (pArg == nullptr)
                             throw std::exception();
                         expr.m_apIndices.push_back(pArg);
                     } while (expr.m_apIndices.size() < nMost && file.PeekToken() == LBT_EXPRESSION);
                 });
    file.SetMemoryMode(nullptr);
    --m_nBuiltinsRead;
    if (!fRead)
        expr.m_apIndices.clear();
    int nLevels = 0;
    expr.m_fArgsComputed = fRead && Computes(expr, nLevels);
    expr.m_nArgLevels = static_cast<uint8_t>(nLevels);
    return fRead;
}

// A built-in of the form's own that the machinery has just computed: its arguments compiled
// from the trees the machinery read, never from a tree of its own, which would hold
// values that the plain way does not make; then their variables found.
void CLumFastForm::ReadBuiltin(CLumBasic& basic, SLumFastExpr& expr)
{
    if (!expr.m_fArgsRead)
    {
        CLumBasicFile& file = *basic.m_pQuelle;
        int nDepth = file.GetStackDepth();
        m_fCachedOnly = true;
        CompileBuiltin(basic, expr);
        m_fCachedOnly = false;
        while (file.GetStackDepth() > nDepth)
            file.SetMemoryMode(nullptr);
    }
    // A name that fails is the machinery's to report, where it reads it.
    if (!expr.m_apIndices.empty())
        LumSucceeds([&] { FindVariables(basic, &expr); });
}

// How many arguments of calls each call of a statement's expressions stands in, and
// how many indices each part for the machinery: the regular way evaluates each argument
// and each index as an expression of its own, which counts against the nesting limit.
void CLumFastForm::SetDepths(SLumFastExpr* pExpr, int nArgDepth, int nIndexDepth)
{
    if (pExpr == nullptr)
        return;
    switch (pExpr->m_eOp)
    {
    case SLumFastExpr::OPERATOR:
        SetDepths(pExpr->m_pLeft, nArgDepth, nIndexDepth);
        SetDepths(pExpr->m_pRight, nArgDepth, nIndexDepth);
        break;
    case SLumFastExpr::USERCALL:
        pExpr->m_nArgDepth = nArgDepth;
        for (SLumFastExpr* pArg : pExpr->m_apIndices)
            SetDepths(pArg, nArgDepth + 1, nIndexDepth);
        break;
    case SLumFastExpr::ELEMENT:
    case SLumFastExpr::ELEMENT_NAME:
        for (SLumFastExpr* pIndex : pExpr->m_apIndices)
            SetDepths(pIndex, nArgDepth, nIndexDepth + 1);
        break;
    case SLumFastExpr::OTHER:
        pExpr->m_nIndexDepth = nIndexDepth;
        break;
    default:
        break;
    }
}

// Whether a node or a part of it may give a text: a constant text, a name of a text, a
// function of the program whose name is one, or a built-in that gives no number.
bool CLumFastForm::MayGiveText(const SLumFastExpr& expr)
{
    switch (expr.m_eOp)
    {
    case SLumFastExpr::CONSTANT:
        return expr.m_pNode->GetConstant().IsString();
    case SLumFastExpr::VARIABLE:
    case SLumFastExpr::ELEMENT:
        return expr.m_cType == '$';
    case SLumFastExpr::OPERATOR:
        return expr.m_pLeft->m_fText || expr.m_pRight->m_fText;
    case SLumFastExpr::USERCALL:
    {
        size_t nName = expr.m_pszName != nullptr ? strlen(expr.m_pszName) : 0;
        return nName == 0 || expr.m_pszName[nName - 1] == '$';
    }
    default:
        return !IsNumeric(&expr);
    }
}

// Whether an expression can be computed as a number throughout. A variable or element
// without "$" may still hold a string at run time; the evaluation then gives up.
bool CLumFastForm::IsNumeric(const SLumFastExpr* pExpr)
{
    switch (pExpr->m_eOp)
    {
    case SLumFastExpr::CONSTANT:
        return !pExpr->m_pNode->GetConstant().IsString();
    case SLumFastExpr::VARIABLE:
    case SLumFastExpr::ELEMENT:
        return pExpr->m_cType != '$';
    case SLumFastExpr::OPERATOR:
        return IsNumeric(pExpr->m_pLeft) && IsNumeric(pExpr->m_pRight);
    case SLumFastExpr::OTHER:
        return pExpr->m_pNode->GetKind() == LBN_FUNCTION && GivesNumber(pExpr->m_wToken);
    default:
        return false;
    }
}
