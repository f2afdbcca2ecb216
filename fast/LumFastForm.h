// The fast form of a program: a second form of the statements a cursor runs, made from
// the image's bytes the first time each statement runs. A statement of the fast form
// knows its operands, its expression trees compiled to nodes that remember their
// variables, and the statements it leads to; the run loop follows these links instead
// of reading the image again.
//
// The image stays the one source of truth. A statement that the form does not cover
// (an unknown token, a call, Dim, For, Import...), an interpreter of a derived class,
// an attached extension module, or anything unusual at run time (a string where a
// number was expected, a missing loop record, any failure of an expression) sends
// that statement to the stream and its handler, which runs it as it always does, with
// the same messages and trails. A fast statement changes nothing before it knows that
// it will finish, so that the handler may run it again from its start.
#pragma once

#include <lumbasic/LumBasicStack.h>
#include <lumbasic/LumTokens.h>
#include <lumbasic/LumVariables.h>
#include <lumbasic/LumsVarValue.h>

#include "core/LumAddressMap.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class CLumBasic;
class CLumBasicDebugger;
class CLumBasicProfiler;
class CLumBasicFile;
class CLumFunctions;
class CLumFunctionStack;
struct CallInfo;
struct CmdData;
class CLumTermNode;

// The helpers below sit in the innermost loops of a run: always inlined. Unoptimised
// builds keep them apart, as LUM_INLINE_BODY does: merged, the frames of a recursion
// grow by the sanitizers' padding of every helper's locals at once.
#ifdef __OPTIMIZE__
#define LUM_HOT inline __attribute__((always_inline))
#define LUM_HOT_LAMBDA __attribute__((always_inline))
#else
#define LUM_HOT inline
#define LUM_HOT_LAMBDA
#endif

// A number as the fast form computes with it: a long or a double.
struct SLumNumber
{
    bool m_fDouble;
    int32_t m_nLong;
    double m_dDouble;

    LUM_HOT double AsDouble() const { return m_fDouble ? m_dDouble : static_cast<double>(m_nLong); }
};

// What a call's fitness for closed runs depends on: the store's generation, the
// procedure table's generation (no two stores or tables share one), the interpreter,
// its source and its debugger.
struct SLumClosedCheck
{
    uint64_t m_nStoreGeneration = 0;
    uint64_t m_nTableGeneration = 0;
    const void* m_pBasic = nullptr;
    uint64_t m_nSourceSerial = 0;
    const void* m_pDebugger = nullptr;
};

// A place that calls a procedure: a function's call in an expression (USERCALL), a
// call statement (CALL); closed runs start from these and from statements whose
// expressions call functions.
struct SLumFastCallSite
{
    // The procedure the name gave while the table stays as it was, the statement at its
    // head, and whether its source is the one the interpreter runs, as last seen.
    const CLumFunctions* m_pTable = nullptr;
    uint64_t m_nTableGeneration = 0;
    CallInfo* m_pInfo = nullptr;
    struct SLumFastStep* m_pCallee = nullptr;
    const CLumBasic* m_pSourceOf = nullptr;
    uint64_t m_nSourceSerial = 0;
    bool m_fSameSource = false;
    // How often a closed run from here gave up on what the regular way does not change
    // (failures), and on links and caches the regular way makes (warm-ups, counted
    // since the last closed run that went through).
    uint16_t m_nClosedFailures = 0;
    uint16_t m_nClosedWarmups = 0;
    // The form's check epoch (CLumFastForm::m_nCheckEpoch) in which the callee was last
    // found fit; 0 for none.
    uint64_t m_nCheckEpoch = 0;
    // The depth (of the call stack for a call statement, of runs otherwise) from which
    // it runs the regular way, while a run from here that gave up runs that way (0:
    // none).
    int m_nRegularFrom = 0;
    // The callee has text parameters, which a closed run binds apart from numbers.
    bool m_fTextParams = false;
};

// A node of a compiled expression tree.
struct SLumFastExpr : SLumFastCallSite
{
    enum EOp : uint8_t
    {
        CONSTANT,
        VARIABLE,
        ELEMENT,
        // The name of an element, as the target of an assignment.
        ELEMENT_NAME,
        OPERATOR,
        // A call of a function of the program.
        USERCALL,
        // Anything else (a built-in function, a name asked for): evaluated by the
        // expression machinery from its tree node.
        OTHER,
    };
    EOp m_eOp = OTHER;
    // The type character of a variable's or an element's name.
    char m_cType = 0;
    unsigned short m_wToken = 0;
    CLumTermNode* m_pNode = nullptr;
    SLumFastExpr* m_pLeft = nullptr;
    SLumFastExpr* m_pRight = nullptr;
    // The node's value is an operator's number, computed as a number throughout.
    bool m_fNumericValue = false;
    // Nothing in the tree below runs code of the program, shows a box or calls a module.
    bool m_fPure = true;
    // The expressions the regular way opens inside this one where the fast form
    // computes it itself: one for each index, and more for indices inside indices.
    uint8_t m_nLevels = 0;
    // CONSTANT: the constant as a number, where it is one.
    bool m_fNumber = false;
    SLumNumber m_cNumber{};
    // VARIABLE and ELEMENT: the name in the image, and where a variable was found.
    const char* m_pszName = nullptr;
    unsigned m_nNameLength = 0;
    CLumNameCache m_cCache;
    // ELEMENT and ELEMENT_NAME: where the elements of the name were found last.
    CLumElementCache m_cElements;
    // ELEMENT: the index expressions. USERCALL: the arguments.
    std::vector<SLumFastExpr*> m_apIndices;
    // USERCALL: where the arguments end in the node's data, the place a call returns
    // to; and how many arguments of calls around it its statement holds it in, each an
    // expression of its own for the regular way.
    const unsigned char* m_pArgsEnd = nullptr;
    int m_nArgDepth = 0;
    // OTHER: how many indices around it its statement holds it in, each an expression of
    // its own for the regular way.
    int m_nIndexDepth = 0;
    // OTHER: a built-in that the form computes itself (Builtin) whose arguments only
    // compute, which closed runs compute too; the built-ins of numbers (Abs, Sgn, Fix,
    // Frac, Round) take numbers. Whether its arguments were read, into m_apIndices: once
    // the machinery has computed it (ReadBuiltin). Whether each of them computes here
    // throughout, and how many expressions the regular way opens for them at most.
    bool m_fBuiltin = false;
    bool m_fTakesNumbers = false;
    bool m_fArgsRead = false;
    bool m_fArgsComputed = false;
    uint8_t m_nArgLevels = 0;
    // The node or a part of it may give a text: a closed run computes it as values.
    bool m_fText = false;
};

// Where a statement or a parameter wrote last in a closed run, so that a variable
// goes into the run's undo list once, not at every write.
struct SLumKept
{
    uint64_t m_nRun = 0;
    const CLumsVarValue* m_pValue = nullptr;
};

// Where a link of a statement leads past the line markers there, for closed runs:
// how many it passes, and the line of the last.
struct SLumPastMarkers
{
    struct SLumFastStep* m_pStep = nullptr;
    unsigned m_nMarkers = 0;
    long m_nLine = 0;
};

// A statement of the fast form.
struct SLumFastStep : SLumFastCallSite
{
    enum EKind : uint8_t
    {
        // Runs from the stream, by its handler.
        SLOW,
        MARKER,
        ASSIGN,
        ASSIGN_ELEMENT,
        IF,
        ELSE,
        ENDIF,
        WHILE,
        WEND,
        DO,
        LOOP,
        FOR,
        NEXT,
        CALL,
        SUB,
        END,
    };
    EKind m_eKind = SLOW;
    // The value or condition is a number, computed without values of the store's kind.
    bool m_fNumeric = false;
    // ASSIGN: a number for a target of numbers, computed without functions of the
    // program: the assignment the run loop makes most.
    bool m_fNumberToNumber = false;
    // The value or condition calls functions of the program: it runs to its end or its
    // failure here, with the frames its handler would give it.
    bool m_fCommitted = false;
    // MARKER: a marker stands right behind, so this one does not reach the debugger.
    bool m_fMarkerFollows = false;
    // MARKER: a declaration or a procedure's head stands behind, which counts no hit.
    bool m_fMarkerUncounted = false;
    // MARKER: either of the two: it passes no line to the debugger.
    bool m_fMarkerPassive = false;
    // The statement may run code of the program, a module's, the host's or the
    // debugger's, any of which might look at the counts of line hits (not IsPureStep):
    // the hits added up go to the profiler before it runs.
    bool m_fHandsIn = true;
    // MARKER: the hits a closed run counted here, not yet handed on (NoteHits), and
    // those the run loop added up, not yet handed to the profiler (AddUpHit).
    uint32_t m_nHits = 0;
    uint32_t m_nAddedUp = 0;
    // ASSIGN_ELEMENT: a closed run's last store of it made its element.
    bool m_fMadeElement = false;
    // HEAD: whether the procedure's name holds a ':' as an element's key does, once a
    // closed run asked (NameCouldBeElements): -1 before.
    mutable int8_t m_nNameColon = -1;
    // ASSIGN and ASSIGN_ELEMENT: the target's type character.
    char m_cType = 0;
    unsigned short m_wToken = 0;
    // LOOP: Loop While or Until. END: the end of a Sub or of a Function.
    unsigned short m_wLoopKind = 0;
    long m_nLine = 0;
    long m_nSkip = 0;
    unsigned char* m_pAt = nullptr;   // the statement's token
    unsigned char* m_pEnd = nullptr;  // behind its operands
    unsigned char* m_pJump = nullptr; // where a taken skip leads
    SLumFastStep* m_pNext = nullptr;  // linked on first use
    SLumFastStep* m_pTaken = nullptr;
    // ASSIGN and FOR: the target's name in the image, and where it was stored last. SUB:
    // the procedure's name.
    const char* m_pszName = nullptr;
    unsigned m_nNameLength = 0;
    CLumNameCache m_cTarget;
    SLumFastExpr* m_pExpr = nullptr;
    // ASSIGN_ELEMENT: the element whose name is the target.
    SLumFastExpr* m_pTarget = nullptr;
    // CALL: the arguments. FOR: the end, and the step where the statement has one (the
    // start is m_pExpr, the counter the target).
    std::vector<SLumFastExpr*> m_apArgs;
    // ASSIGN of a string whose value is its own target plus parts (`s$ = s$ + a$ + b$`):
    // the target's read, and the parts, appended in place (AssignAppend).
    SLumFastExpr* m_pAppendTo = nullptr;
    std::vector<SLumFastExpr*> m_apParts;
    // SUB: the procedure's scope, and its parameters with the keys of their locals.
    struct SParam
    {
        std::string m_strKey;
        char m_cType;
        CLumNameCache m_cCache;
        SLumKept m_cKept{};
    };
    std::vector<SParam> m_aParams;
    uint64_t m_nScope = 0;
    // ASSIGN: whether the target names the function running, for the scope it was
    // looked at in. ASSIGN_ELEMENT: whether the procedure's name has a ':'. END of a
    // Function: where its result was found, for the scope of the function as well as
    // the one it returns to.
    uint64_t m_nCheckedScope = 0;
    bool m_fResultTarget = false;
    CLumNameCache m_cResult;
    // END of a Function: the result found for the other scope it returned to last (a
    // recursion returns to itself but for its outermost call), kept apart.
    CLumNameCache m_cResultElse;
    uint64_t m_nResultOf = 0;
    std::string m_strResultKey;
    // ASSIGN, FOR and NEXT: where a closed run wrote last.
    SLumKept m_cKept;
    // m_pNext and m_pTaken past the line markers they lead to.
    SLumPastMarkers m_cPastNext;
    SLumPastMarkers m_cPastTaken;
    // SUB: the body compiled for closed runs (null until it is made), or never made.
    struct SLumSlotCode* m_pSlots = nullptr;
    bool m_fNoSlots = false;
};

// A procedure's body compiled for closed runs (LumFastSlots.cpp): its variables as slots
// found once per check epoch, its statements as ops that know where each link leads
// past the markers, its numbers as trees of nodes that read slots.
struct SLumSlot
{
    // The cache of the name in the fast form's step or node, read when the slots are
    // found; the variable found, and the closed run that noted it for the undo last.
    const CLumNameCache* m_pCache = nullptr;
    CLumsVarValue* m_pValue = nullptr;
    uint64_t m_nKeptRun = 0;
};

struct SLumSlotNode
{
    enum EKind : uint8_t
    {
        CONSTANT,
        // A variable: an empty value reading as 0, or a number only.
        SLOT_ANY,
        SLOT_NUMBER,
        OPERATOR,
        // A variable of longs and a constant long, the most frequent operator.
        OPERATOR_LONG,
        // A variable of numbers and a constant double, added, taken apart or multiplied.
        OPERATOR_DOUBLE,
        // A call of a function of the program.
        CALL,
        // An element read by a single variable's index (m_pSlot), which the walker reads
        // where the index is no long.
        ELEMENT,
        // Computed by the walker of closed runs: a built-in, an element, a number from
        // texts (with or without the frame, which calls need).
        WALK_BUILTIN,
        WALK_NUMBER,
        WALK_TEXT,
        WALK_TEXT_FRAMED,
        GIVE_UP,
    };
    EKind m_eKind = GIVE_UP;
    unsigned short m_wToken = 0;
    SLumNumber m_cNumber{};
    SLumSlot* m_pSlot = nullptr;
    const SLumSlotNode* m_pLeft = nullptr;
    const SLumSlotNode* m_pRight = nullptr;
    SLumFastExpr* m_pExpr = nullptr;
    // CALL: the arguments' nodes.
    const SLumSlotNode* const* m_ppArgs = nullptr;
    size_t m_nArgs = 0;
    // CALL and WALK_TEXT_FRAMED: the Ifs and Fors its procedure holds open there.
    int m_nOpen = 0;
};

// Where an op's link leads, past how many markers, the line of the last.
struct SLumSlotEdge
{
    const struct SLumSlotOp* m_pTo = nullptr;
    unsigned m_nMarkers = 0;
    long m_nLine = 0;
    // The markers and the statement it leads to, as counted.
    unsigned m_nSteps = 0;
    // The markers passed that are not passive, whose hits are noted while lines are
    // counted, in their order (a link through jumps passes those before each jump
    // too): in the code's list, the first of them at once.
    SLumFastStep* m_pCounted = nullptr;
    unsigned m_nFirstActive = 0;
    unsigned m_nActive = 0;
    // Whether each of those behind the first enters its line, as known from the one
    // before it, which is the depth's mark there: only the first's is decided at run time.
    bool m_fRestEnter = false;
    // Those behind the first: the closed run that counted their hits one by one (listing
    // them), and how often that run passed them again since, which their counts take
    // when the run ends (CLumFastForm::FoldRepeats).
    mutable uint64_t m_nRestRun = 0;
    mutable uint32_t m_nRepeats = 0;
};

struct SLumSlotOp
{
    enum EKind : uint8_t
    {
        ASSIGN,
        // An element's assignment of a number by an index in a slot.
        ASSIGN_ELEMENT,
        // A statement the walker runs: an assignment of a text or of any other element.
        WALK,
        IF,
        // Made into jumps (or ops that give up) once the code knows its Ifs.
        ELSE,
        ENDIF,
        WHILE,
        WEND,
        DO,
        LOOP,
        FOR,
        NEXT,
        CALL,
        END,
        GIVE_UP,
        // A link the regular way has not made yet.
        MISSING,
        // An Else whose If's condition the code knows, an End If: it leads to its next
        // link, into which the links to it are folded.
        JUMP,
        // An ASSIGN of `+`, `-` or `*` on two variables or constants (m_pLeft,
        // m_pRight): computed at once where both hold numbers, else as ASSIGN.
        ASSIGN_ADD,
        ASSIGN_SUB,
        ASSIGN_MUL,
        // An IF of a variable against a long constant (m_pLeft, m_nConstant): decided at
        // once where the variable holds a long, else as IF.
        IF_EQ,
        IF_NE,
        IF_LT,
        IF_LE,
        IF_GT,
        IF_GE,
    };
    EKind m_eKind = GIVE_UP;
    char m_cType = 0;
    // The Ifs and Fors the procedure holds open before it.
    int m_nOpen = 0;
    // ASSIGN and FOR: the target, ASSIGN_ELEMENT: the index, NEXT: its For's counter.
    // ASSIGN, ASSIGN_ELEMENT, IF, WHILE, LOOP: the value or the condition; FOR: the
    // start, the end and the step (null for none); CALL: the arguments.
    SLumSlot* m_pTarget = nullptr;
    // ASSIGN_ADD, ASSIGN_SUB, ASSIGN_MUL: the operands' slots (a constant's of its own).
    SLumSlot* m_pLeft = nullptr;
    SLumSlot* m_pRight = nullptr;
    int32_t m_nConstant = 0;
    const SLumSlotNode* m_pValue = nullptr;
    const SLumSlotNode* m_pEnd = nullptr;
    const SLumSlotNode* m_pStep = nullptr;
    const SLumSlotNode* const* m_ppArgs = nullptr;
    size_t m_nArgs = 0;
    SLumFastStep* m_pFastStep = nullptr;
    SLumSlotEdge m_cNext;
    SLumSlotEdge m_cTaken;
};

struct SLumSlotCode
{
    // Where the body begins behind the head.
    SLumSlotEdge m_cEntry;
    // The check epoch in which the slots were found, 0 for none, and the scope.
    uint64_t m_nEpoch = 0;
    uint64_t m_nScope = 0;
    // The links that were missing when it was made, and whether a run met one since.
    std::vector<SLumFastStep* const*> m_appMissing;
    bool m_fRemake = false;
    // The most Ifs and Fors open before an If or a For opens one more (-1 for none).
    int m_nMaxOpen = -1;
    std::vector<SLumSlot> m_aSlots;
    // A loop's code (made from its Next): the slot of the counter its Next counts.
    SLumSlot* m_pCounter = nullptr;
    // The values of the constants the typed ops read through slots (no cache): they
    // stay where they are as more are made.
    std::deque<CLumsVarValue> m_aConstants;
    std::vector<SLumSlotNode> m_aNodes;
    std::vector<const SLumSlotNode*> m_apArgs;
    std::vector<SLumSlotOp> m_aOps;
    // The markers of the links that are not passive (SLumSlotEdge::m_nFirstActive).
    std::vector<SLumFastStep*> m_apActive;
};

// One more level of arguments or indices a closed run holds open, while it lives.
class CLumFastNested
{
public:
    explicit CLumFastNested(int& nNested) : m_nNested(++nNested) {}
    ~CLumFastNested() { --m_nNested; }
    CLumFastNested(const CLumFastNested&) = delete;
    CLumFastNested& operator=(const CLumFastNested&) = delete;

private:
    int& m_nNested;
};

// A value that is a number (not an empty value) as a number; false for any other.
LUM_HOT bool LumFastNumberOnly(const CLumsVarValue& value, SLumNumber& out)
{
    switch (value.GetType())
    {
    case CLumsVarValue::VT_LONG:
        out.m_fDouble = false;
        out.m_nLong = value.LongValue();
        return true;
    case CLumsVarValue::VT_DOUBLE:
        out.m_fDouble = true;
        out.m_dDouble = value.DoubleValue();
        return true;
    default:
        return false;
    }
}

// A value as a number (an empty value is the long 0); false for a string.
LUM_HOT bool LumFastNumber(const CLumsVarValue& value, SLumNumber& out)
{
    if (LumFastNumberOnly(value, out))
        return true;
    if (value.GetType() != CLumsVarValue::VT_EMPTY)
        return false;
    out.m_fDouble = false;
    out.m_nLong = 0;
    return true;
}

LUM_HOT void LumFastSetLong(SLumNumber& out, int64_t n)
{
    // A long wraps in 32 bits.
    out.m_fDouble = false;
    out.m_nLong = static_cast<int32_t>(static_cast<uint32_t>(static_cast<uint64_t>(n)));
}

LUM_HOT void LumFastSetDouble(SLumNumber& out, double d)
{
    out.m_fDouble = true;
    out.m_dDouble = d;
}

// -1, 0, 1, or 2 for unequal (NaN), as CLumsVarValue::Compare orders two numbers.
LUM_HOT int LumFastCompare(const SLumNumber& l, const SLumNumber& r)
{
    if (!l.m_fDouble && !r.m_fDouble)
        return l.m_nLong < r.m_nLong ? -1 : (l.m_nLong > r.m_nLong ? 1 : 0);
    double a = l.AsDouble(), b = r.AsDouble();
    if (a < b)
        return -1;
    if (a > b)
        return 1;
    return a == b ? 0 : 2;
}

LUM_HOT bool LumFastTruth(const SLumNumber& n)
{
    return n.m_fDouble ? n.m_dDouble != 0.0 : n.m_nLong != 0;
}

// Stores a number into a variable of the type its name's character gives.
LUM_HOT void LumFastStore(CLumsVarValue& target, const SLumNumber& n, char cType)
{
    if (cType == '%')
        target = static_cast<long>(n.m_fDouble ? LumDoubleToLong(n.m_dDouble) : n.m_nLong);
    else
        target = n.AsDouble();
}

// Stores a number as the value of an operator: a long or a double as computed.
LUM_HOT void LumFastStore(CLumsVarValue& target, const SLumNumber& n)
{
    if (n.m_fDouble)
        target = n.m_dDouble;
    else
        target = static_cast<long>(n.m_nLong);
}

// Applies an operator of an expression tree to two numbers by the rules of the value
// type; false for one it does not compute (division by zero, an unknown token).
LUM_HOT bool LumFastOperate(unsigned short wToken, const SLumNumber& l, const SLumNumber& r, SLumNumber& out)
{
    bool fLongs = !l.m_fDouble && !r.m_fDouble;
    // The most frequent operators ahead of the jump through the table.
    if (wToken == LBT_PLUS)
    {
        fLongs ? LumFastSetLong(out, int64_t(l.m_nLong) + r.m_nLong)
               : LumFastSetDouble(out, l.AsDouble() + r.AsDouble());
        return true;
    }
    if (wToken == LBT_MINUS)
    {
        fLongs ? LumFastSetLong(out, int64_t(l.m_nLong) - r.m_nLong)
               : LumFastSetDouble(out, l.AsDouble() - r.AsDouble());
        return true;
    }
    switch (wToken)
    {
    case LBT_MUL:
        fLongs ? LumFastSetLong(out, int64_t(l.m_nLong) * r.m_nLong)
               : LumFastSetDouble(out, l.AsDouble() * r.AsDouble());
        return true;
    case LBT_DIV:
        if (r.AsDouble() == 0.0)
            return false; // the handler reports the division by zero
        LumFastSetDouble(out, l.AsDouble() / r.AsDouble());
        return true;
    case LBT_AND:
        LumFastSetLong(out, LumFastTruth(l) && LumFastTruth(r));
        return true;
    case LBT_OR:
        LumFastSetLong(out, LumFastTruth(l) || LumFastTruth(r));
        return true;
    case LBT_EQ:
        LumFastSetLong(out, LumFastCompare(l, r) == 0);
        return true;
    case LBT_NE:
        LumFastSetLong(out, LumFastCompare(l, r) != 0);
        return true;
    case LBT_LT:
        LumFastSetLong(out, LumFastCompare(l, r) == -1);
        return true;
    case LBT_LE:
    {
        int n = LumFastCompare(l, r);
        LumFastSetLong(out, n == -1 || n == 0);
        return true;
    }
    case LBT_GT:
        LumFastSetLong(out, LumFastCompare(l, r) == 1);
        return true;
    case LBT_GE:
    {
        int n = LumFastCompare(l, r);
        LumFastSetLong(out, n == 1 || n == 0);
        return true;
    }
    default:
        return false;
    }
}

// Two longs, as LumFastOperate computes them, without its tests of the types: the
// operators of the tests and the sums of long variables and constants.
LUM_HOT bool LumFastOperateLongs(unsigned short wToken, int32_t l, int32_t r, SLumNumber& out)
{
    // The most frequent operators ahead of the search through the others.
    if (wToken == LBT_PLUS)
    {
        LumFastSetLong(out, int64_t(l) + r);
        return true;
    }
    if (wToken == LBT_MINUS)
    {
        LumFastSetLong(out, int64_t(l) - r);
        return true;
    }
    switch (wToken)
    {
    case LBT_MUL:
        LumFastSetLong(out, int64_t(l) * r);
        return true;
    case LBT_EQ:
        LumFastSetLong(out, l == r);
        return true;
    case LBT_NE:
        LumFastSetLong(out, l != r);
        return true;
    case LBT_LT:
        LumFastSetLong(out, l < r);
        return true;
    case LBT_LE:
        LumFastSetLong(out, l <= r);
        return true;
    case LBT_GT:
        LumFastSetLong(out, l > r);
        return true;
    case LBT_GE:
        LumFastSetLong(out, l >= r);
        return true;
    default:
        return LumFastOperate(wToken, SLumNumber{false, l, 0.0}, SLumNumber{false, r, 0.0}, out);
    }
}

// Whether a For loop's counter has passed its end: above it counting up, below it
// counting down, as the handler's > and < decide.
LUM_HOT bool LumFastPastEnd(const SLumNumber& counter, const SLumNumber& end, const SLumNumber& step)
{
    SLumNumber past;
    LumFastOperate(step.AsDouble() < 0 ? LBT_LT : LBT_GT, counter, end, past);
    return past.m_nLong != 0;
}

class CLumFastForm
{
public:
    // The most expressions the regular way opens inside one that the fast form computes
    // itself (indices inside indices); an element nested deeper goes to the machinery.
    static constexpr int MAX_LEVELS = 8;
    // The most parts one assignment appends to its target in place.
    static constexpr size_t MAX_APPENDED = 8;
    // Ifs that one procedure holds open in a closed run, one bit each, and For loops.
    static constexpr int MAX_CLOSED_IFS = 64;
    static constexpr size_t MAX_CLOSED_FORS = 16;
    // Closed runs of one loop's remaining passes that may give up for a warm-up before
    // the loop runs the regular way to its end (one that gives up for good ends them).
    static constexpr int MAX_LOOP_TRIES = 4;

    CLumFastForm() = default;
    CLumFastForm(const CLumFastForm&) = delete;
    CLumFastForm& operator=(const CLumFastForm&) = delete;

    // Does the run loop's work from the statement whose token `wToken` it has just
    // read, until the run ends or an extension module is attached or a handler puts
    // another cursor in place; `wToken` and `nResult` then stand as the run loop goes on.
    // `pStart`, where given, is the statement whose token that is.
    void Run(CLumBasic& basic, unsigned short& wToken, int& nResult, SLumFastStep* pStart = nullptr);

private:
    // The arguments of a direct call that are values, made where an argument needs one,
    // in room on the caller's stack for up to 32.
    class SArguments
    {
    public:
        explicit SArguments(CLumsVarValue* pRoom) : m_pRoom(pRoom) {}
        SArguments(const SArguments&) = delete;
        SArguments& operator=(const SArguments&) = delete;
        ~SArguments()
        {
            for (uint32_t nMade = m_nMade; nMade != 0; nMade &= nMade - 1)
                m_pRoom[__builtin_ctz(nMade)].~CLumsVarValue();
        }
        CLumsVarValue& Make(size_t i)
        {
            ::new (&m_pRoom[i]) CLumsVarValue();
            m_nMade |= 1u << i;
            return m_pRoom[i];
        }
        CLumsVarValue* At(size_t i) { return (m_nMade >> i) & 1 ? &m_pRoom[i] : nullptr; }

    private:
        CLumsVarValue* m_pRoom;
        uint32_t m_nMade = 0;
    };
    template <size_t N> struct SArgumentRoom
    {
        static_assert(N <= 32, "a mask of 32 bits tells the arguments made");
        alignas(CLumsVarValue) unsigned char m_aRoom[N * sizeof(CLumsVarValue)];
        SArguments m_args{reinterpret_cast<CLumsVarValue*>(m_aRoom)};
    };

    enum EOutcome
    {
        GO_ON,   // on to the statement behind
        JUMP,    // on to the statement the skip leads to
        CALLED,  // on to the head of the procedure the statement called
        ENTERED, // on behind the head of the procedure the statement called and entered
        RETURN,  // back behind the call the procedure came from
        STOP,    // the statement ends the run loop
        HANDLER  // the statement is for its handler after all
    };

    SLumFastStep* StepAt(CLumBasic& basic, unsigned char* pAt);
    SLumFastStep* Follow(CLumBasic& basic, unsigned char* pRaw, SLumFastStep*& pLink);
    // Leaves the form at a raw position as the run loop would, reading the next token.
    void Leave(CLumBasic& basic, unsigned char* pRaw, unsigned short& wToken);

    // Translation (LumFastTranslate.cpp).
    void Translate(CLumBasic& basic, SLumFastStep& step);
    void TranslateOperands(CLumBasic& basic, SLumFastStep& step);
    bool ReadSkip(CLumBasicFile& file, SLumFastStep& step, bool fForward);
    // `fValue`: the expression's value is wanted, not a name it gives.
    // `fCalls`: calls of the program's functions may stand in it.
    SLumFastExpr* ReadExpression(CLumBasic& basic, bool fValue, bool fCalls = false);
    // The tree at the cursor, behind its LBT_EXPRESSION token.
    SLumFastExpr* ReadTree(CLumBasic& basic, bool fValue, bool fCalls = false);
    SLumFastExpr* Compile(CLumBasic& basic, CLumTermNode* pNode, bool fValue);
    bool CompileCall(CLumBasic& basic, SLumFastExpr& expr);
    bool CompileElement(CLumBasic& basic, SLumFastExpr& expr);
    bool CompileBuiltin(CLumBasic& basic, SLumFastExpr& expr);
    static const char* BuiltinKinds(unsigned short wToken);
    static bool Computes(const SLumFastExpr& expr, int& nLevels);
    bool Builtin(CLumBasic& basic, SLumFastExpr& expr, CLumsVarValue& out);
    bool Measure(CLumBasic& basic, SLumFastExpr& expr, CLumsVarValue& out);
    // The cores of both, shared with closed runs: a built-in on its arguments as GetArg
    // gave them, the first worked on in place; Len, Asc or InStr on texts read in place.
    static bool ApplyBuiltin(CLumBasic& basic, unsigned short wToken, CLumsVarValue& value,
                             const CLumsVarValue* pSecond, const CLumsVarValue* pThird);
    static void MeasureTexts(unsigned short wToken, const std::string_view* pTexts, CLumsVarValue& out);
    // Whether an argument computed as a value is of the kind (BuiltinKinds) it is read as.
    static bool ArgumentFits(char cKind, const CLumsVarValue& arg);
    static bool NumberBuiltin(unsigned short wToken, CLumsVarValue& value, const CLumsVarValue* pDigits,
                              const CLumsVarValue* pMode);
    __attribute__((noinline)) void ReadBuiltin(CLumBasic& basic, SLumFastExpr& expr);
    static bool IsNumeric(const SLumFastExpr* pExpr);
    static bool MayGiveText(const SLumFastExpr& expr);
    static void SetDepths(SLumFastExpr* pExpr, int nArgDepth, int nIndexDepth);
    static bool IsPure(const CLumTermNode* pNode);

    // Execution (LumFastRun.cpp).
    SLumFastStep* RunSteps(CLumBasic& basic, SLumFastStep* pStep, unsigned char*& pLeaveAt, int& nResult);
    SLumFastStep* RunStepsCounting(CLumBasic& basic, SLumFastStep* pStep, unsigned char*& pLeaveAt,
                                   int& nResult);
    // The run of steps itself; `fAddingUp`: lines are counted, and hits may be added up.
    // On a line of the cache of its own: where the functions before it had left it, a
    // change elsewhere in the library made counting a While loop 12% slower.
    template <bool fAddingUp>
    __attribute__((aligned(64))) SLumFastStep* RunStepsOf(CLumBasic& basic, SLumFastStep* pStep,
                                                          unsigned char*& pLeaveAt, int& nResult);
    template <bool fAddingUp> bool PassMarker(CLumBasic& basic, SLumFastStep& step);
    static bool IsPureStep(const SLumFastStep& step);
    SLumFastStep* NextStep(CLumBasic& basic, SLumFastStep& step, EOutcome eOutcome, unsigned char*& pRaw);
    EOutcome Execute(CLumBasic& basic, SLumFastStep& step);
    EOutcome Assign(CLumBasic& basic, SLumFastStep& step);
    EOutcome Branch(CLumBasic& basic, SLumFastStep& step);
    EOutcome Next(CLumBasic& basic, SLumFastStep& step);
    bool Condition(CLumBasic& basic, SLumFastStep& step, bool& fTrue);
    bool EvalNumber(CLumBasic& basic, SLumFastExpr& expr, SLumNumber& out);
    // An operator's number: EvalNumber's own case, inlined where a statement's whole
    // expression is most often one operator.
    LUM_HOT bool EvalOperator(CLumBasic& basic, SLumFastExpr& expr, SLumNumber& out)
    {
        bool fDone;
        if (OperateOnLong(expr, out, fDone))
            return fDone;
        SLumNumber r;
        return Leaf(basic, *expr.m_pLeft, out) && Leaf(basic, *expr.m_pRight, r) &&
               LumFastOperate(expr.m_wToken, out, r, out);
    }
    // A statement's expression as a number.
    LUM_HOT bool EvalStatement(CLumBasic& basic, SLumFastExpr& expr, SLumNumber& out)
    {
        return expr.m_eOp == SLumFastExpr::OPERATOR ? EvalOperator(basic, expr, out)
                                                    : EvalNumber(basic, expr, out);
    }
    // Constants and variables, the leaves of nearly every tree, without a call.
    LUM_HOT bool Leaf(CLumBasic& basic, SLumFastExpr& expr, SLumNumber& out)
    {
        if (expr.m_eOp == SLumFastExpr::CONSTANT)
        {
            out = expr.m_cNumber;
            return expr.m_fNumber;
        }
        if (expr.m_eOp == SLumFastExpr::VARIABLE)
        {
            const CLumsVarValue* pValue = Cached(expr.m_cCache);
            return LumFastNumber(pValue != nullptr ? *pValue : *Variable(basic, expr), out);
        }
        return EvalNumber(basic, expr, out);
    }
    // The variable a cache names, while store, generation and scope are the same. No
    // two stores ever share a generation, and a cache is filled with its store's: the
    // generation stands for the store as well.
    LUM_HOT CLumsVarValue* Cached(const CLumNameCache& cache) const
    {
        return cache.m_nScope == m_nScope && cache.m_nGeneration == m_pStore->GetGeneration() ? cache.m_pValue
                                                                                              : nullptr;
    }
    const CLumsVarValue* Variable(CLumBasic& basic, SLumFastExpr& expr);
    void FindVariables(CLumBasic& basic, SLumFastExpr* pExpr);
    __attribute__((noinline)) EOutcome For(CLumBasic& basic, SLumFastStep& step);
    // A long variable and a long constant, the most frequent operation of all (i% * 2,
    // k% - 1, n% < 2), at once: true where the operands are of that kind, with `fDone`
    // telling whether the operator computed them.
    LUM_HOT bool OperateOnLong(const SLumFastExpr& expr, SLumNumber& out, bool& fDone) const
    {
        const SLumFastExpr& left = *expr.m_pLeft;
        const SLumFastExpr& right = *expr.m_pRight;
        if (left.m_eOp != SLumFastExpr::VARIABLE || right.m_eOp != SLumFastExpr::CONSTANT ||
            !right.m_fNumber || right.m_cNumber.m_fDouble)
            return false;
        const CLumsVarValue* pValue = Cached(left.m_cCache);
        if (pValue == nullptr || pValue->GetType() != CLumsVarValue::VT_LONG)
            return false;
        SLumNumber l{false, pValue->LongValue(), 0.0};
        fDone = LumFastOperate(expr.m_wToken, l, right.m_cNumber, out);
        return true;
    }

    // Statements whose expressions call functions of the program (LumFastFramed.cpp).
    EOutcome AssignCommitted(CLumBasic& basic, SLumFastStep& step);
    __attribute__((noinline)) bool AssignClosed(CLumBasic& basic, SLumFastStep& step);
    __attribute__((noinline)) bool AssignClosedText(CLumBasic& basic, SLumFastStep& step);
    __attribute__((noinline)) static void StoreUnbalanced(CLumBasic& basic, SLumFastStep& step, bool fResult,
                                                          CLumsVarValue& value);
    __attribute__((noinline)) bool ConditionClosed(CLumBasic& basic, SLumFastStep& step, bool& fTrue);
    bool IsResultTarget(CLumBasic& basic, SLumFastStep& step);
    void ConditionCommitted(CLumBasic& basic, SLumFastStep& step, bool& fTrue);
    void EvalCommitted(CLumBasic& basic, SLumFastStep& step, CLumsVarValue& out);
    void EvalFramed(CLumBasic& basic, SLumFastExpr& expr, CLumsVarValue& out);
    void EvalPureFramed(CLumBasic& basic, SLumFastExpr& expr, CLumsVarValue& out);
    CLumsVarValue* UserCall(CLumBasic& basic, SLumFastExpr& expr);
    CallInfo* Callee(CLumBasic& basic, SLumFastExpr& expr);
    __attribute__((noinline)) CLumsVarValue* CallClosed(CLumBasic& basic, SLumFastExpr& expr, int nRun);
    CLumsVarValue* CallRegular(CLumBasic& basic, SLumFastExpr& expr);
    SLumFastStep* CalleeHead(CLumBasic& basic, SLumFastExpr& expr, const CallInfo& info);
    void PushArguments(CLumBasic& basic, SLumFastExpr& expr);
    bool DirectArguments(CLumBasic& basic, SLumFastExpr& expr, const CallInfo& info, SLumNumber* pNumbers,
                         SArguments& args);

    // Calls run whole, without the interpreter's stacks (LumFastClosed.cpp).
    struct SClosedFrame
    {
        // The procedure running (null for the one of the stacks) and how many run, as
        // variable names resolve by them.
        const SLumFastStep* m_pHead;
        int m_nNames;
        uint64_t m_nScope;
        // The expressions the regular way holds open while this procedure's statements
        // run: each statement opens one more, each argument of a call one more again.
        int m_nLevel;
        // The Ifs and Fors the run held open when the procedure began (m_nClosedIfs).
        int m_nOpenBase;
    };
    struct SUndo
    {
        CLumsVarValue* m_pValue;
        SLumNumber m_cNumber;
    };
    // A text variable's value before a closed run wrote it, taken over, not copied.
    struct STextUndo
    {
        CLumsVarValue* m_pValue = nullptr;
        CLumsVarValue m_cText;
        STextUndo() = default;
        STextUndo(STextUndo&& other) noexcept : m_pValue(other.m_pValue) { m_cText.Swap(other.m_cText); }
        STextUndo(const STextUndo&) = delete;
        STextUndo& operator=(const STextUndo&) = delete;
    };
    // A For loop a closed run holds open.
    struct SClosedFor
    {
        CLumsVarValue* m_pCounter;
        SLumNumber m_cEnd;
        SLumNumber m_cStep;
        int m_nIfs;
        // The compiled form's: end and step are longs.
        bool m_fLongs = false;
    };
    // Tries a closed run from `site` at depth `nDepth` (of runs, or of calls for a call
    // statement), except while a run from there that gave up runs the regular way, one
    // level up or more: trying again at every level of a recursion would cost the
    // depth's square.
    template <class Attempt> static bool TryClosed(SLumFastCallSite& site, int nDepth, Attempt&& attempt)
    {
        if (site.m_nRegularFrom != 0 && nDepth >= site.m_nRegularFrom)
            return false;
        site.m_nRegularFrom = 0;
        if (attempt())
            return true;
        site.m_nRegularFrom = nDepth + 1;
        return false;
    }
    // A function's call in an expression, with its result; a Sub's call statement; the
    // expression of an assignment or a condition, with its value.
    bool RunClosed(CLumBasic& basic, SLumFastExpr& expr, SLumNumber& out);
    bool RunClosed(CLumBasic& basic, SLumFastStep& step);
    bool RunClosed(CLumBasic& basic, SLumFastStep& step, SLumFastExpr& expr, SLumNumber& out);
    bool RunClosed(CLumBasic& basic, SLumFastStep& step, CLumsVarValue& out);
    // The remaining passes of a loop, from its Next in the run loop, closed: GO_ON where
    // the loop ran to its end, JUMP where the regular way goes on with the next pass.
    __attribute__((noinline)) EOutcome RunClosedLoop(CLumBasic& basic, SLumFastStep& next, CmdData& loop);
    template <class Site, class Body> bool Closed(CLumBasic& basic, Site& site, Body&& body);
    const CallInfo* ClosedLookup(CLumBasic& basic, SLumFastExpr& expr, bool& fOtherSource);
    const CallInfo* ClosedLookup(CLumBasic& basic, SLumFastStep& step, bool& fOtherSource);
    template <class Site>
    bool ClosedCallee(CLumBasic& basic, Site& site, const std::vector<SLumFastExpr*>& args);
    // `numbers` computes the arguments for parameters of numbers, in the caller's frame.
    // ClosedEntered is its inlined body, for a call between compiled bodies (one machine
    // frame less for each level of a recursion) and a Sub's call from the run loop.
    template <class Site, class Numbers>
    SLumFastStep* ClosedEnter(CLumBasic& basic, Site& site, const std::vector<SLumFastExpr*>& args,
                              const SClosedFrame& caller, int nLevel, uint64_t& nScope, Numbers&& numbers);
    template <class Site, class Numbers>
    SLumFastStep* ClosedEntered(CLumBasic& basic, Site& site, const std::vector<SLumFastExpr*>& args,
                                const SClosedFrame& caller, int nLevel, uint64_t& nScope, Numbers&& numbers);
    bool ClosedCall(CLumBasic& basic, SLumFastExpr& expr, const SClosedFrame& caller, SLumNumber& out,
                    CLumsVarValue* pText = nullptr);
    template <bool fEntered = false, class Numbers>
    bool ClosedCallOf(CLumBasic& basic, SLumFastExpr& expr, const SClosedFrame& caller, SLumNumber& out,
                      CLumsVarValue* pText, Numbers&& numbers);
    template <bool fEntered = false>
    bool ClosedSub(CLumBasic& basic, SLumFastStep& step, const SClosedFrame& caller);
    template <bool fEntered = false, class Numbers>
    bool ClosedSubOf(CLumBasic& basic, SLumFastStep& step, const SClosedFrame& caller, Numbers&& numbers);
    bool ClosedArguments(CLumBasic& basic, const std::vector<SLumFastExpr*>& args, const SClosedFrame& caller,
                         SLumNumber* pOut);
    // The compiled form of closed runs (LumFastSlots.cpp): a procedure's body as ops on
    // slots, made once its links and caches are warm, its slots found once per check
    // epoch; null where the walker (ClosedBody) runs the body.
    // The walker runs too where an If or a For could pass the limit of commands open,
    // which it checks as it opens each.
    SLumSlotCode* Slots(SLumFastStep& head, uint64_t nScope)
    {
        SLumSlotCode* pCode = head.m_pSlots;
        if (pCode == nullptr || pCode->m_nEpoch != m_nCheckEpoch)
            pCode = SlotsFound(head, nScope);
        return pCode != nullptr && m_nClosedIfs + pCode->m_nMaxOpen < m_nClosedIfLimit ? pCode : nullptr;
    }
    __attribute__((noinline)) SLumSlotCode* SlotsFound(SLumFastStep& head, uint64_t nScope);
    SLumSlotCode* SlotsMade(SLumFastStep& head);
    SLumFastStep* SlotBody(CLumBasic& basic, SLumSlotCode& code, const SClosedFrame& frame);
    bool SlotQuick(const SLumSlotNode& node, const SClosedFrame& frame, SLumNumber& out);
    bool SlotOperand(const SLumSlotNode& node, const SClosedFrame& frame, SLumNumber& out);
    bool SlotLeaf(const SLumSlotNode& node, const SClosedFrame& frame, SLumNumber& out);
    bool SlotTruth(const SLumSlotNode& node, const SClosedFrame& frame, bool& fTrue);
    bool SlotNumber(const SLumSlotNode& node, const SClosedFrame& frame, SLumNumber& out);
    bool SlotElement(const SLumSlotNode& node, SLumNumber& out);
    __attribute__((noinline)) bool SlotCall(const SLumSlotNode& node, const SClosedFrame& frame,
                                            SLumNumber& out);
    bool SlotNumbers(const SLumSlotNode* const* ppArgs, size_t nArgs, const SClosedFrame& frame,
                     SLumNumber* pOut);
    bool SlotStore(SLumSlot& slot, const SLumNumber& n, char cType);
    template <unsigned short wToken> bool SlotArith(const SLumSlotOp& op, const SClosedFrame& frame);
    bool SlotAssign(const SLumSlotOp& op, const SClosedFrame& frame);
    template <unsigned short wToken>
    bool SlotCompare(const SLumSlotOp& op, const SClosedFrame& frame, bool& fTaken);
    bool SlotIf(const SLumSlotOp& op, const SClosedFrame& frame, bool& fTaken);
    __attribute__((noinline)) bool SlotFor(const SLumSlotOp& op, const SClosedFrame& frame);
    int SlotNext(const SLumSlotOp& op);
    bool Bind(SLumFastStep::SParam& param, const SLumNumber& n);
    SLumFastStep* ClosedEnteredBody(CLumBasic& basic, SLumFastStep& head, const SClosedFrame& caller,
                                    int nLevel, uint64_t& nScope);
    bool NoteUndo(CLumsVarValue& target);
    void NoteHitsOf(const SLumSlotCode& code, const SLumSlotEdge& edge);
    void FoldRepeats(bool fCount);
    void Hit(SLumFastStep* pMarker);
    void List(SLumFastStep* pMarker);
    bool ClosedArgument(CLumBasic& basic, SLumFastExpr& arg, const SClosedFrame& caller, SLumNumber& out);
    __attribute__((noinline, cold)) bool ClosedBindTexts(CLumBasic& basic, SLumFastStep& head,
                                                         const std::vector<SLumFastExpr*>& args,
                                                         const SClosedFrame& caller);
    SLumFastStep* ClosedBody(CLumBasic& basic, SLumFastStep& head, const SClosedFrame& frame);
    SLumFastStep* Onward(CLumBasic& basic, SLumFastStep& step, bool fTaken, unsigned long& nSteps);
    static bool IsStopRequested(const CLumBasic& basic);
    bool MustLeave(const CLumBasic& basic) const;
    static bool PassMarkers(SLumFastStep* pLink, SLumPastMarkers& past);
    bool ClosedAssign(CLumBasic& basic, SLumFastStep& step, const SClosedFrame& frame);
    __attribute__((noinline, cold)) bool ClosedAssignText(SLumFastStep& step, const SClosedFrame& frame);
    CLumsVarValue* ClosedStore(SLumFastStep& step, const SLumNumber& n);
    bool IfOnTop(int nIfs, size_t nForBase) const;
    __attribute__((noinline)) bool ClosedFor(CLumBasic& basic, SLumFastStep& step, const SClosedFrame& frame,
                                             int nIfs, size_t nForBase);
    __attribute__((noinline)) int ClosedNext(SLumFastStep& step, int nIfs, size_t nForBase);
    bool ClosedCondition(CLumBasic& basic, SLumFastStep& step, const SClosedFrame& frame, bool& fTrue);
    bool ClosedExpression(CLumBasic& basic, SLumFastStep& step, const SClosedFrame& frame, SLumNumber& out);
    bool ClosedValue(CLumBasic& basic, SLumFastExpr& expr, const SClosedFrame& frame, SLumNumber& out);
    bool ClosedPure(SLumFastExpr& expr, bool fEmptyIsZero, SLumNumber& out);
    bool ClosedLeaf(SLumFastExpr& expr, SLumNumber& out);
    bool QuickOnLong(const SLumFastExpr& expr, SLumNumber& out, bool& fDone);
    bool ClosedNumber(SLumFastExpr& expr, SLumNumber& out);
    __attribute__((noinline)) bool ClosedTree(SLumFastExpr& expr, SLumNumber& out);
    bool ClosedTreeOperand(SLumFastExpr& expr, SLumNumber& out);
    bool ClosedOperatorOfLeaves(SLumFastExpr& expr, SLumNumber& out);
    bool ClosedOperand(CLumBasic& basic, SLumFastExpr& expr, const SClosedFrame& frame, SLumNumber& out);
    __attribute__((noinline)) bool ClosedBuiltin(SLumFastExpr& expr, SLumNumber& out);
    // Values that may be texts: an expression's value as EvalValue computes it, a
    // built-in's as Builtin does (LumFastBuiltin.cpp), a number from them, a text for a
    // text variable. `pFrame` is null inside a built-in, whose arguments call no
    // procedure.
    bool ClosedAny(SLumFastExpr& expr, const SClosedFrame* pFrame, CLumsVarValue& out);
    static const CLumsVarValue* TextConstant(const SLumFastExpr& expr);
    bool ClosedBuiltinValue(SLumFastExpr& expr, CLumsVarValue& out);
    bool ClosedMeasure(SLumFastExpr& expr, CLumsVarValue& out);
    bool ClosedSlice(SLumFastExpr& expr, const char* pszKinds, CLumsVarValue& out, bool& fDone);
    __attribute__((noinline, cold)) bool ClosedTextBuiltin(SLumFastExpr& expr, SLumNumber& out);
    __attribute__((noinline, cold)) bool ClosedTextNumber(SLumFastExpr& expr, const SClosedFrame* pFrame,
                                                          SLumNumber& out);
    bool AsText(CLumsVarValue& value);
    __attribute__((noinline, cold)) bool ClosedTextResult(const CLumsVarValue& result, CLumsVarValue* pText);
    bool KeepText(CLumsVarValue& target, SLumKept& kept, CLumsVarValue& value);
    __attribute__((noinline)) void UndoTexts();
    __attribute__((noinline)) void DropKeptTexts();
    bool TextsAllowed() const;
    __attribute__((noinline)) bool ClosedElement(SLumFastExpr& expr, SLumNumber& out);
    bool ClosedIndices(SLumFastExpr& expr, long* pIndices);
    bool SlotAssignElement(CLumBasic& basic, const SLumSlotOp& op, const SClosedFrame& frame);
    // Whether the procedure's name holds a ':', as an element's key does: AssignElement
    // leaves such a procedure's assignments of elements to its handler. Known after the
    // first ask for each procedure, and for the procedure of the stacks once a run.
    bool NameCouldBeElements(const SClosedFrame& frame)
    {
        if (const SLumFastStep* pHead = frame.m_pHead)
            return pHead->m_nNameColon > 0 || (pHead->m_nNameColon < 0 && AskNameCouldBeElements(frame));
        return m_nStackNameRun == m_nClosedRun ? m_fStackNameColon : AskNameCouldBeElements(frame);
    }
    __attribute__((noinline)) bool AskNameCouldBeElements(const SClosedFrame& frame);
    bool StoreElement(SLumFastStep& step, long nIndex, const SLumNumber& n);
    __attribute__((noinline)) bool ClosedAssignElement(CLumBasic& basic, SLumFastStep& step,
                                                       const SClosedFrame& frame);
    bool ClosedResult(SLumFastStep& end, uint64_t nCalleeScope, const SClosedFrame& caller, SLumNumber& out,
                      CLumsVarValue* pText);
    const CLumsVarValue* FindResult(SLumFastStep& end, const SClosedFrame& caller);
    bool Keep(CLumsVarValue& target, SLumKept& kept);
    __attribute__((noinline)) bool KeepMore();
    void Undo();
    // Line hits of a closed run while lines are counted: added up on the markers as
    // they are passed, counted when the run ends whole, dropped when it gives up.
    void NoteHits(SLumFastStep* pMarker, unsigned nMarkers);
    void NoteHit(SLumFastStep* pMarker);
    __attribute__((noinline)) void CountMore(SLumFastStep* pMarker);
    void CountHits(CLumBasic& basic);
    void DropHits();
    // A closed run gives up: for good where the regular way would do the same again,
    // or for a warm-up, which the regular way's run of the call makes unnecessary.
    bool GiveUp() { return false; }
    bool WarmUp()
    {
        m_fWarmUp = true;
        return false;
    }
    static bool SameSource(CLumBasic& basic, SLumFastExpr& expr, const CallInfo& info);

    // Calls (LumFastCall.cpp).
    void TranslateCall(CLumBasic& basic, SLumFastStep& step);
    void TranslateHead(CLumBasicFile& file, SLumFastStep& step);
    // A Sub run whole returns behind its call at once, without the frame of the regular
    // way's (a template only so that the interpreter's stacks are known where it runs).
    template <class Basic> LUM_HOT EOutcome Call(Basic& basic, SLumFastStep& step)
    {
        // A Sub run whole returns behind its call at once; the run loop hands in ahead
        // of a call that took the regular way last time.
        if (TryClosed(step, basic.m_cCallStack.GetCount(), [&] { return RunClosed(basic, step); }))
        {
            step.m_fHandsIn = false;
            return GO_ON;
        }
        step.m_fHandsIn = true;
        return CallStatement(basic, step);
    }
    EOutcome CallStatement(CLumBasic& basic, SLumFastStep& step);
    CallInfo* Callee(CLumBasic& basic, SLumFastStep& step);
    bool IsDirect(CLumBasic& basic, SLumFastStep& step, const CallInfo& info);
    EOutcome CallDirect(CLumBasic& basic, SLumFastStep& step, const CallInfo& info, SLumNumber* pNumbers);
    void Capture(CLumBasic& basic, SLumFastExpr& arg, char cParamType, SLumNumber& number, SArguments& args,
                 size_t i);
    void EnterDirect(CLumBasic& basic, SLumFastStep& head, const SLumNumber* pNumbers, SArguments& args);
    static CLumsVarValue& Local(CLumBasic& basic, SLumFastStep::SParam& param);
    static void BindNumber(CLumBasic& basic, SLumFastStep::SParam& param, const SLumNumber& number);
    EOutcome Head(CLumBasic& basic, SLumFastStep& step);
    void EnterHead(CLumBasic& basic, SLumFastStep& step);
    static void Bind(CLumBasic& basic, SLumFastStep::SParam& param, const CLumsVarValue& argument);
    EOutcome End(CLumBasic& basic, SLumFastStep& step);
    const CLumsVarValue* Result(CLumBasic& basic, SLumFastStep& step);

    // Values, elements and stores (LumFastValue.cpp).
    EOutcome AssignValue(CLumBasic& basic, SLumFastStep& step);
    template <bool fAddingUp> EOutcome CountLine(CLumBasic& basic, SLumFastStep& step);
    // While the run loop counts lines and nothing can look at the counts, a hit is added
    // up on its marker, and the level's line mark and the debugger's line are kept
    // here; the sums, the mark and the line go where they belong before anything runs
    // that could look (HandInHits).
    void StartAddingUp(CLumBasic& basic, CLumBasicDebugger& debugger, SLumFastStep& step, uint32_t nTurns);
    void AddUpHit(SLumFastStep& step);
    void AddFirstHit(SLumFastStep& step);
    __attribute__((noinline)) void AddedUpMore(SLumFastStep* pMarker);
    void HandInHits() noexcept;
    // A closed run that ended whole while the run loop adds up: its hits join the sums.
    void AddUpClosedHits() noexcept;
    EOutcome AssignAppend(CLumBasic& basic, SLumFastStep& step);
    // The parts of a string assignment that appends to its own target, into the step.
    static void FindAppendedParts(SLumFastStep& step);
    bool ValueFor(CLumBasic& basic, SLumFastStep& step, CLumsVarValue& value);
    EOutcome AssignElement(CLumBasic& basic, SLumFastStep& step);
    void Store(CLumBasic& basic, const char* pszName, CLumsVarValue& value, CLumNameCache* pCache);
    bool EvalOtherNumber(CLumBasic& basic, SLumFastExpr& expr, SLumNumber& out);
    void EvalValue(CLumBasic& basic, SLumFastExpr& expr, CLumsVarValue& out);
    const CLumsVarValue* Element(CLumBasic& basic, SLumFastExpr& expr);
    // The indices of an element as numbers. The common one, a single variable holding a
    // whole number, is read at once.
    LUM_HOT bool Indices(CLumBasic& basic, SLumFastExpr& expr, long* pIndices)
    {
        return SingleIndex(expr, pIndices) || AllIndices(basic, expr, pIndices);
    }
    LUM_HOT bool SingleIndex(const SLumFastExpr& expr, long* pIndices) const
    {
        if (expr.m_apIndices.size() != 1 || expr.m_apIndices[0]->m_eOp != SLumFastExpr::VARIABLE)
            return false;
        const CLumsVarValue* pValue = Cached(expr.m_apIndices[0]->m_cCache);
        if (pValue == nullptr || pValue->GetType() != CLumsVarValue::VT_LONG)
            return false;
        pIndices[0] = pValue->LongValue();
        return true;
    }
    bool AllIndices(CLumBasic& basic, SLumFastExpr& expr, long* pIndices);
    static bool ElementName(std::string_view name, const long* pIndices, char* pszKey, size_t& nLength);
    void EvalOther(CLumBasic& basic, SLumFastExpr& expr, CLumsVarValue& out);

    // The expressions the regular way would hold open beyond those counted where the
    // fast form computes now, indices aside: 1 for a statement's expression or an
    // argument, which the regular way evaluates as an expression of its own; 0 inside
    // one that the fast form evaluates in a frame of its own. The machinery, called from
    // there, counts on from that depth and the indices around.
    int m_nLift = 1;
    class SLift
    {
    public:
        SLift(int& nLift, int nTo) : m_nLift(nLift), m_nWas(nLift) { nLift = nTo; }
        ~SLift() { m_nLift = m_nWas; }
        SLift(const SLift&) = delete;
        SLift& operator=(const SLift&) = delete;

    private:
        int& m_nLift;
        int m_nWas;
    };
    // The store and the scope of the statements running now, taken when a run of
    // statements starts: only a handler changes the scope.
    CLumVariables* m_pStore = nullptr;
    uint64_t m_nScope = 0;
    // The call statement an End Sub returns to, null for a call made by a handler.
    SLumFastStep* m_pReturnTo = nullptr;
    // The closed run going on: its number, its undo list, how many calls and Ifs it
    // holds open, and whether it gave up for a warm-up.
    uint64_t m_nClosedRun = 0;
    // The closed run that last asked whether the name of the procedure of the stacks
    // holds a ':', and the answer.
    uint64_t m_nStackNameRun = 0;
    bool m_fStackNameColon = false;
    // The undo list: its first m_nUndo entries hold, the rest is room.
    std::vector<SUndo> m_aUndo;
    size_t m_nUndo = 0;
    size_t m_nUndoRoom = 0; // its size, read at every first write
    // The elements it made, the store's newest keys.
    size_t m_nMadeElements = 0;

    int m_nClosedDepth = 0;
    int m_nClosedDepthLimit = 0;
    uintptr_t m_nStackFloor = 0;
    // What the fitness of callees was last looked at against, and a number that
    // changes whenever that changes: a site found fit in the same epoch still is.
    SLumClosedCheck m_cCheck;
    uint64_t m_nCheckEpoch = 0;
    int m_nClosedIfs = 0;
    int m_nClosedIfLimit = 0;
    // The statements it ran, and how many the run's statement limit leaves it.
    unsigned long m_nClosedSteps = 0;
    unsigned long m_nClosedStepLimit = 0;
    bool m_fWarmUp = false;
    // The levels of built-ins' arguments and elements' indices that the statement's
    // expression computed now holds open inside it, as the regular way would open them.
    int m_nClosedNested = 0;
    // Translation reads only trees that the machinery has read (ReadBuiltin), and how
    // many built-ins inside each other it is reading.
    bool m_fCachedOnly = false;
    int m_nBuiltinsRead = 0;
    // Counting: the marker passed last at the depth of closed calls that runs, as the
    // regular way keeps one for each level of calls (the callers' wait on the machine
    // stack); the markers whose hits are added up, in the order of their first, and the
    // last one counted in a closed run.
    const SLumFastStep* m_pClosedMark = nullptr;
    std::vector<SLumFastStep*> m_aCounted;
    size_t m_nCounted = 0;
    // The links whose markers behind the first a closed run passes again (m_nRepeats),
    // with their code.
    std::vector<std::pair<const SLumSlotCode*, const SLumSlotEdge*>> m_aRepeated;
    const SLumFastStep* m_pLastCounted = nullptr;
    // The run loop adding up hits: the debugger it counts for, null while the markers
    // go to the debugger one by one; the profiler, null where lines are only noted; the
    // markers whose sums it holds, in the order of their first; the last marker that
    // passed the line mark, and the mark it stands for; the last that entered its line,
    // a closed run's included, whose line the debugger notes; the window's count of
    // turns to watch, null without a window, and its value when it began.
    CLumBasicDebugger* m_pAddingUpFor = nullptr;
    CLumBasicProfiler* m_pAddingUp = nullptr;
    std::vector<SLumFastStep*> m_aAddedUp;
    size_t m_nAddedUpCount = 0;
    const SLumFastStep* m_pMarkAt = nullptr;
    const SLumFastStep* m_pLastEntered = nullptr;
    SLumLineMark* m_pAddingUpMark = nullptr;
    const std::atomic<uint32_t>* m_pTurns = nullptr;
    uint32_t m_nTurnsSeen = 0;
    bool m_fCounting = false;
    const CLumBasicDebugger* m_pWatchedDebugger = nullptr;
    // The For loops the procedures of a closed run hold open, the innermost last.
    std::vector<SClosedFor> m_aClosedFors;
    size_t m_nClosedFors = 0; // its size, read at every call
    CLumAddressMap<SLumFastStep*> m_mapSteps;
    std::vector<std::unique_ptr<SLumFastStep>> m_aSteps;
    std::vector<std::unique_ptr<SLumFastExpr>> m_aExprs;
    // The compiled bodies, each kept while the form lives: a body made again leaves the
    // code before to the runs that may still stand in it.
    std::vector<std::unique_ptr<SLumSlotCode>> m_aSlotCodes;
    // Text variables apart: a variable a closed run wrote stays a number or a text, so
    // each is noted in one list only, and the two go back in any order.
    std::vector<STextUndo> m_aTextUndo;
    bool m_fTextsKept = false; // the list holds texts
    // The interpreter of the closed run going on.
    CLumBasic* m_pClosedBasic = nullptr;
    // The text result of the function a closed run called from an expression.
    CLumsVarValue m_cClosedText;
};
