#include "LumProgramGenerator.h"

#include <algorithm>
#include <random>
#include <vector>

namespace lumfuzz
{
unsigned CLumChoices::Pick(unsigned nCount)
{
    if (nCount <= 1 || m_nSize == 0)
        return 0;
    unsigned n = *m_pData++;
    --m_nSize;
    if (nCount > 256 && m_nSize > 0)
    {
        n = n << 8 | *m_pData++;
        --m_nSize;
    }
    return n % nCount;
}

namespace
{
enum class EType
{
    Double,
    Long,
    Text
};

EType TypeOf(const std::string& strName)
{
    switch (strName.back())
    {
    case '$':
        return EType::Text;
    case '%':
        return EType::Long;
    default:
        return EType::Double;
    }
}

struct SProc
{
    std::string m_strName;
    bool m_fFunction = false;
    bool m_fLibrary = false;
    // Only numbers, branches, While and Do and calls: a procedure that the fast form
    // can run whole.
    bool m_fNumbersOnly = false;
    // Texts and numbers of only what the fast form runs whole as well: constants,
    // variables, `+`, comparisons and the built-ins the fast form computes, calls of
    // procedures of this kind or of numbers only; no element of texts, no statement for
    // a handler.
    bool m_fPlainTexts = false;
    // The parameters; the first, d%, is the depth that bounds a recursion. Nothing
    // assigns it, so a call with d% - 1 goes one level deeper.
    std::vector<std::string> m_aParams;
    std::vector<std::string> m_aLocals;
    // Procedures it may call besides itself: those behind it in its own source, and a
    // program's procedures those of the library, so that only a procedure's own
    // recursion, which d% bounds, makes a cycle.
    size_t m_nFirstCallee = 0;
    size_t m_nLastCallee = 0;
    // Calls of itself it may still make: none, one (a recursion that may go deep), or
    // a few (a tree of calls, kept shallow).
    int m_nSelfCalls = 0;
    bool m_fDeep = false;
};

// Where a statement or expression stands.
struct SContext
{
    const SProc* m_pProc = nullptr; // null in Sub Main
    bool m_fSelf = false;           // behind `If d% > 0`: the procedure may call itself
    bool m_fArrays = true;          // the library declares no arrays
    bool m_fNumbersOnly = false;    // see SProc
    bool m_fPlainTexts = false;     // see SProc
    // Numbers only, outside the library: elements of numbers are read and written, which
    // functions run whole take on.
    bool m_fReadsArrays = false;
};

const char* const s_apszGlobals[] = {"x", "y", "z", "n%", "m%", "k%", "s$", "t$", "u$"};
const char* const s_apszParams[] = {"x", "n%", "s$", "p", "q%", "r$"};
const char* const s_apszLocals[] = {"y", "m%", "t$", "v", "w%", "x", "s$"};
const char* const s_apszArrays[] = {"a", "b%", "c$"};
const char* const s_apszLongs[] = {"0",  "1",  "2",  "3",   "5",          "7",
                                   "10", "-1", "-4", "100", "2147483647", "-2147483647"};
const char* const s_apszDoubles[] = {"0.5", "2.5",   "-1.25", "0.1",  "1E3",
                                     "3.0", "1.005", "1E300", "-0.0", "1234.5678"};
const char* const s_apszTexts[] = {"\"\"",    "\"a\"",   "\"b\"",   "\"q\"",  "\"J\xC3\xB6rg\"", "\"12.5\"",
                                   "\" x \"", "\"abc\"", "\"1E2\"", "\"-3\"", "\"Ab\"\"c\""};
const char* const s_apszTemplates[] = {"\"999.99\"", "\"ZZ9,99\"",     "\"99 kg\"", "\"9.999\"", "\"N9\"",
                                       "\"cc-9\"",   "\"999.999,99\"", "\"Z9\"",    "\"-99.9\"", "\"9s\""};
const char* const s_apszCompare[] = {" = ", " <> ", " < ", " > ", " <= ", " >= "};
const char* const s_apszArith[] = {" + ", " - ", " * "};

template <size_t N> const char* PickOf(CLumChoices& c, const char* const (&apsz)[N])
{
    return apsz[c.Pick(N)];
}

class CGenerator
{
public:
    CGenerator(CLumChoices& choices, std::string strLibraryImage)
        : m_c(choices), m_strLibraryImage(std::move(strLibraryImage))
    {
    }

    SLumGeneratedProgram Generate();

private:
    void MakeProcedures();
    void Line(const std::string& strLine) { m_strOut += std::string(4 * m_nIndent, ' ') + strLine + "\n"; }
    void Procedure(const SProc& proc);
    void Block(const SContext& ctx, int nDepth);
    void Statement(const SContext& ctx, int nDepth);
    std::string Simple(const SContext& ctx);
    std::string SelfAppend(const SContext& ctx, bool fBuilder);
    void IfBlock(const SContext& ctx, int nDepth);
    void ForLoop(const SContext& ctx, int nDepth);
    void WhileLoop(const SContext& ctx, int nDepth);
    void Nested(const SContext& ctx, int nDepth)
    {
        ++m_nIndent;
        Block(ctx, nDepth + 1);
        --m_nIndent;
    }

    std::string Expr(EType eType, const SContext& ctx, int nDepth);
    std::string Number(const SContext& ctx, int nDepth);
    std::string NumberBuiltin(const SContext& ctx, int nDepth);
    std::string MeasureOfText(const SContext& ctx, int nDepth);
    std::string RoundArg(const SContext& ctx, int nDepth, unsigned nCount, int nFrom);
    std::string Text(const SContext& ctx, int nDepth);
    std::string Variable(EType eType, const SContext& ctx, bool fTarget);
    std::string Element(EType eType, const SContext& ctx, int nDepth);
    std::string Call(const SProc& callee, const SContext& ctx, int nDepth);
    std::string Arguments(const SProc& callee, const SContext& ctx, int nDepth);
    const SProc* Callee(const SContext& ctx, bool fFunction, EType eType);

    CLumChoices& m_c;
    std::string m_strLibraryImage;
    // Not const: a procedure's calls of itself are counted as they are written.
    std::vector<SProc> m_aProcs;
    size_t m_nMainProcs = 0;
    std::string m_strOut;
    int m_nIndent = 0;
    int m_nCounters = 0;
    // A program of numbers only: its functions run whole, called from loops of Main.
    bool m_fNumbersOnly = false;
};

SLumGeneratedProgram CGenerator::Generate()
{
    SLumGeneratedProgram program;
    // Mostly a limit that only a runaway reaches, now and then one that ends the run
    // somewhere on its way.
    switch (m_c.Pick(10))
    {
    case 7:
        program.m_nStatementLimit = 1 + m_c.Pick(300);
        break;
    case 8:
        program.m_nStatementLimit = 1 + m_c.Pick(4000);
        break;
    default:
        program.m_nStatementLimit = 100000;
        break;
    }
    MakeProcedures();
    bool fLibrary = m_aProcs.size() > m_nMainProcs;

    // Declarations: those of the library's procedures are needed, those of the
    // program's own may stand.
    for (const SProc& proc : m_aProcs)
        if (proc.m_fLibrary || m_c.Chance(15))
        {
            std::string strHead = proc.m_fFunction ? "Declare Function " : "Declare Sub ";
            strHead += proc.m_strName + "(";
            for (size_t i = 0; i < proc.m_aParams.size(); ++i)
                strHead += (i ? ", " : "") + proc.m_aParams[i];
            Line(strHead + ")");
        }
    bool fImportOutside = fLibrary && m_c.Chance(30);
    if (fImportOutside)
        Line("Import \"" + m_strLibraryImage + "\"");
    Line("Sub Main");
    ++m_nIndent;
    if (fLibrary && !fImportOutside)
        Line("Import \"" + m_strLibraryImage + "\"");
    Line("Dim a(3), b%(2), c$(4)");
    // Elements of numbers that differ, for the functions run whole to read.
    if (m_fNumbersOnly)
        Line("a(0) = 1.25 : a(1) = -2.5 : a(2) = 7 : a(3) = 0.375 : b%(0) = 3 : b%(1) = -4 : b%(2) = 9");
    SContext main;
    main.m_fNumbersOnly = m_fNumbersOnly;
    for (int i = 1 + static_cast<int>(m_c.Pick(6)); i > 0; --i)
        Statement(main, 0);
    // A procedure of plain texts called from a loop: the first call makes the links and
    // the caches, the later ones run whole.
    std::vector<const SProc*> apPlain;
    for (const SProc& proc : m_aProcs)
        if (proc.m_fPlainTexts)
            apPlain.push_back(&proc);
    const SProc* pPlain =
        apPlain.empty() ? nullptr : apPlain[m_c.Pick(static_cast<unsigned>(apPlain.size()))];
    if (pPlain != nullptr && m_c.Chance(60))
    {
        SContext plain = main;
        plain.m_fPlainTexts = true;
        plain.m_fArrays = false;
        Line("For ic% = 1 To 6");
        ++m_nIndent;
        Line(pPlain->m_fFunction
                 ? Variable(TypeOf(pPlain->m_strName), plain, true) + " = " + Call(*pPlain, plain, 1)
                 : pPlain->m_strName + " " + Arguments(*pPlain, plain, 1));
        --m_nIndent;
        Line("Next ic%");
    }
    // Now and then a text built in a loop until the memory budget ends the run.
    if (m_c.Chance(12))
    {
        program.m_nMemoryLimit = (2 + m_c.Pick(47)) * 1024;
        program.m_nStatementLimit = std::max(program.m_nStatementLimit, 150000ul);
        Line("For ib% = 1 To 20000");
        ++m_nIndent;
        Line(SelfAppend(main, true));
        --m_nIndent;
        Line("Next ib%");
    }
    --m_nIndent;
    Line("End Sub");
    // The program's procedures before the library's: the bytes may run out on the way,
    // and the first procedures are the ones called most.
    for (size_t i = 0; i < m_aProcs.size(); ++i)
    {
        if (i == m_nMainProcs)
        {
            program.m_strMain = std::move(m_strOut);
            m_strOut.clear();
        }
        Procedure(m_aProcs[i]);
    }
    if (fLibrary)
        program.m_strLibrary = std::move(m_strOut);
    else
        program.m_strMain = std::move(m_strOut);
    return program;
}

void CGenerator::MakeProcedures()
{
    m_fNumbersOnly = m_c.Chance(45);
    m_nMainProcs = m_c.Pick(5);
    size_t nLibrary = m_c.Pick(4);
    for (size_t i = 0; i < m_nMainProcs + nLibrary; ++i)
    {
        SProc proc;
        proc.m_fLibrary = i >= m_nMainProcs;
        proc.m_fFunction = m_c.Chance(60);
        proc.m_fNumbersOnly = m_fNumbersOnly || m_c.Chance(50);
        proc.m_fPlainTexts = !proc.m_fNumbersOnly && m_c.Chance(50);
        static const char* const s_apszSuffix[] = {"", "%", "$"};
        proc.m_strName = std::string(proc.m_fLibrary ? "L" : "") + (proc.m_fFunction ? "F" : "S") +
                         std::to_string(i) +
                         (proc.m_fFunction ? s_apszSuffix[m_c.Pick(proc.m_fNumbersOnly ? 2 : 3)] : "");
        auto fits = [&](const char* pszName) {
            return !proc.m_fNumbersOnly || TypeOf(pszName) != EType::Text;
        };
        proc.m_aParams.push_back("d%");
        for (const char* pszParam : s_apszParams)
            if (fits(pszParam) && m_c.Chance(25))
                proc.m_aParams.push_back(pszParam);
        // A Dim is a statement the fast form does not run whole; most such procedures
        // do without.
        bool fLocals = !(proc.m_fNumbersOnly || proc.m_fPlainTexts) || m_c.Chance(30);
        for (const char* pszLocal : s_apszLocals)
        {
            bool fParam = false;
            for (const std::string& strParam : proc.m_aParams)
                fParam = fParam || strParam == pszLocal;
            if (fLocals && !fParam && fits(pszLocal) && m_c.Chance(25))
                proc.m_aLocals.push_back(pszLocal);
        }
        static const int s_anSelfCalls[] = {0, 1, 1, 2, 3};
        proc.m_nSelfCalls = s_anSelfCalls[m_c.Pick(5)];
        proc.m_fDeep = proc.m_nSelfCalls == 1;
        proc.m_nFirstCallee = i + 1;
        proc.m_nLastCallee = m_nMainProcs + nLibrary;
        m_aProcs.push_back(proc);
    }
    for (size_t i = 0; i < m_nMainProcs; ++i)
        m_aProcs[i].m_nLastCallee = m_aProcs.size();
}

void CGenerator::Procedure(const SProc& proc)
{
    std::string strHead = (proc.m_fFunction ? "Function " : "Sub ") + proc.m_strName + "(";
    for (size_t i = 0; i < proc.m_aParams.size(); ++i)
        strHead += (i ? ", " : "") + proc.m_aParams[i];
    Line(strHead + ")");
    ++m_nIndent;
    SContext ctx;
    ctx.m_pProc = &proc;
    ctx.m_fArrays = !proc.m_fLibrary && !proc.m_fNumbersOnly && !proc.m_fPlainTexts;
    ctx.m_fNumbersOnly = proc.m_fNumbersOnly;
    ctx.m_fPlainTexts = proc.m_fPlainTexts;
    ctx.m_fReadsArrays = !proc.m_fLibrary && proc.m_fNumbersOnly;
    if (!proc.m_aLocals.empty())
    {
        std::string strDim = "Dim ";
        for (size_t i = 0; i < proc.m_aLocals.size(); ++i)
            strDim += (i ? ", " : "") + proc.m_aLocals[i];
        Line(strDim);
    }
    for (int i = static_cast<int>(m_c.Pick(5)); i > 0; --i)
        Statement(ctx, 0);
    // A function of numbers often gives a built-in's value, so that one run whole shows it.
    if (proc.m_fFunction && m_c.Chance(80))
        Line(proc.m_strName + " = " +
             (proc.m_fNumbersOnly && m_c.Chance(40) ? NumberBuiltin(ctx, 1)
                                                    : Expr(TypeOf(proc.m_strName), ctx, 0)));
    --m_nIndent;
    Line(proc.m_fFunction ? "End Function" : "End Sub");
}

void CGenerator::Block(const SContext& ctx, int nDepth)
{
    for (int i = static_cast<int>(m_c.Pick(4)); i > 0; --i)
        Statement(ctx, nDepth);
}

void CGenerator::Statement(const SContext& ctx, int nDepth)
{
    unsigned nKind = m_c.Pick(nDepth >= 3 ? 2 : 10);
    // Main's For is no hindrance: only called procedures run whole.
    if ((ctx.m_fNumbersOnly || ctx.m_fPlainTexts) &&
        (nKind == 8 || nKind == 9 || (nKind == 4 && ctx.m_pProc != nullptr && m_c.Chance(80))))
        nKind = 5;
    switch (nKind)
    {
    case 0:
        Line(Simple(ctx));
        break;
    case 1:
    {
        // Several statements on one line.
        std::string strLine = Simple(ctx);
        for (int i = 1 + static_cast<int>(m_c.Pick(3)); i > 0; --i)
            strLine += " : " + Simple(ctx);
        Line(strLine);
        break;
    }
    case 2:
    case 3:
        IfBlock(ctx, nDepth);
        break;
    case 4:
        ForLoop(ctx, nDepth);
        break;
    case 5:
        WhileLoop(ctx, nDepth);
        break;
    case 6:
        if (ctx.m_pProc != nullptr && !ctx.m_fSelf && ctx.m_pProc->m_nSelfCalls > 0)
        {
            // A recursion that d% bounds: behind the test, the procedure may call itself.
            Line("If d% > 0 Then");
            SContext self = ctx;
            self.m_fSelf = true;
            Nested(self, nDepth);
            if (m_c.Chance(50))
            {
                Line("Else");
                Nested(ctx, nDepth);
            }
            Line("End If");
        }
        else
            Line(Simple(ctx));
        break;
    case 7:
    {
        // A one-line If.
        std::string strLine = "If " + Number(ctx, 1) + " Then " + Simple(ctx);
        if (m_c.Chance(40))
            strLine += " Else " + Simple(ctx);
        Line(strLine);
        break;
    }
    case 8:
        Line(m_c.Chance(50) ? "' a comment" : "Rem a remark");
        break;
    default:
        Line(Simple(ctx) + " ' behind a statement");
        break;
    }
}

// A statement of one line without a block.
std::string CGenerator::Simple(const SContext& ctx)
{
    unsigned nKind = m_c.Pick(9);
    if (ctx.m_fNumbersOnly && nKind != 3 && nKind != 4 && !(nKind == 2 && ctx.m_fReadsArrays))
        nKind = 0;
    if (ctx.m_fPlainTexts && nKind != 3 && nKind != 4 && nKind != 8)
        nKind = 0;
    switch (nKind)
    {
    case 0:
    case 1:
    {
        EType eType = static_cast<EType>(m_c.Pick(ctx.m_fNumbersOnly ? 2 : 3));
        return Variable(eType, ctx, true) + " = " + Expr(eType, ctx, 0);
    }
    case 2:
        if (ctx.m_fArrays || ctx.m_fReadsArrays)
        {
            EType eType = static_cast<EType>(m_c.Pick(ctx.m_fNumbersOnly ? 2 : 3));
            return Element(eType, ctx, 1) + " = " + Expr(eType, ctx, 0);
        }
        return "x = " + Number(ctx, 0);
    case 3:
    case 4:
        if (const SProc* pSub = Callee(ctx, false, EType::Double))
        {
            std::string strArgs = Arguments(*pSub, ctx, 1);
            // CallEx is for the regular way.
            switch (m_c.Pick(ctx.m_fNumbersOnly || ctx.m_fPlainTexts ? 2 : 3))
            {
            case 0:
                return "Call " + pSub->m_strName + "(" + strArgs + ")";
            case 1:
                return pSub->m_strName + " " + strArgs;
            default:
                return "CallEx \"" + pSub->m_strName + "\", " + strArgs;
            }
        }
        return "n% = n% + 1";
    case 5:
        if (ctx.m_pProc != nullptr && !ctx.m_pProc->m_aLocals.empty() && m_c.Chance(50))
            return "Dim " +
                   ctx.m_pProc->m_aLocals[m_c.Pick(static_cast<unsigned>(ctx.m_pProc->m_aLocals.size()))];
        return "Let (\"e\" + Str$(Abs(" + Number(ctx, 2) + ") > 1)) = " + Number(ctx, 1);
    case 6:
        // Not a bracket first: the statement would take it for its argument list.
        return "ShowMessage \"\" + " + Text(ctx, 2) + ", " + Text(ctx, 2) + ", " + PickOf(m_c, s_apszLongs);
    case 7:
        if (ctx.m_pProc != nullptr && !m_strLibraryImage.empty() && m_c.Chance(10))
            return "Import \"" + m_strLibraryImage + "\"";
        return "Let y = " + Number(ctx, 0);
    default:
        return SelfAppend(ctx, false);
    }
}

// `t$ = t$ + ...` with one to four parts, which the fast form and the handler append in
// place: texts, numbers, the target itself. A builder's first part is a text of ten
// bytes, so that its loop reaches the memory budget.
std::string CGenerator::SelfAppend(const SContext& ctx, bool fBuilder)
{
    std::string strTarget = Variable(EType::Text, ctx, true);
    std::string strLine = strTarget + " = " + strTarget + (fBuilder ? " + \"0123456789\"" : "");
    for (int i = 1 + static_cast<int>(m_c.Pick(4)); i > 0; --i)
    {
        if (m_c.Chance(15))
            strLine += " + " + strTarget;
        else if (m_c.Chance(15))
            strLine += " + (" + Number(ctx, 2) + ")";
        else
            strLine += " + " + Text(ctx, 2);
    }
    return strLine;
}

void CGenerator::IfBlock(const SContext& ctx, int nDepth)
{
    Line("If " + Number(ctx, 1) + " Then");
    Nested(ctx, nDepth);
    for (int i = static_cast<int>(m_c.Pick(3)); i > 0; --i)
    {
        Line("ElseIf " + Number(ctx, 1) + " Then");
        Nested(ctx, nDepth);
    }
    if (m_c.Chance(50))
    {
        Line("Else");
        Nested(ctx, nDepth);
    }
    Line("End If");
}

// A For whose counter only the loop writes, with bounds of constants and, in a
// procedure, of its depth parameter (which only decreases): it ends.
void CGenerator::ForLoop(const SContext& ctx, int nDepth)
{
    static const char* const s_apszStart[] = {"1", "0", "3", "-1", "2"};
    static const char* const s_apszEnd[] = {"3", "1", "0", "4", "-2", "d% + 1", "2 - d%"};
    bool fLong = m_c.Chance(70);
    std::string strCounter = "i" + std::to_string(++m_nCounters) + (fLong ? "%" : "");
    const char* pszEnd = s_apszEnd[m_c.Pick(ctx.m_pProc != nullptr ? 7 : 5)];
    std::string strLine = "For " + strCounter + " = " + PickOf(m_c, s_apszStart) + " To " + pszEnd;
    static const char* const s_apszLongSteps[] = {"", " Step 2", " Step -1", " Step 1"};
    static const char* const s_apszDoubleSteps[] = {"", " Step 0.5", " Step -0.75", " Step 2"};
    strLine += fLong ? PickOf(m_c, s_apszLongSteps) : PickOf(m_c, s_apszDoubleSteps);
    Line(strLine);
    Nested(ctx, nDepth);
    Line(m_c.Chance(50) ? "Next " + strCounter : "Next");
}

// While and the four forms of Do, each with a counter of its own that only the loop
// writes and that bounds its passes.
void CGenerator::WhileLoop(const SContext& ctx, int nDepth)
{
    std::string strCounter = "w" + std::to_string(++m_nCounters) + "%";
    std::string strBound = std::to_string(1 + m_c.Pick(4));
    std::string strGo = strCounter + " < " + strBound + " And " + Number(ctx, 2);
    std::string strStop = strCounter + " >= " + strBound + " Or " + Number(ctx, 2);
    Line(strCounter + " = 0");
    unsigned nForm = m_c.Pick(5);
    static const char* const s_apszOpen[] = {"While ", "Do While ", "Do Until ", "Do", "Do"};
    Line(s_apszOpen[nForm] + (nForm == 0 || nForm == 1 ? strGo : nForm == 2 ? strStop : ""));
    Nested(ctx, nDepth);
    ++m_nIndent;
    Line(strCounter + " = " + strCounter + " + 1");
    --m_nIndent;
    static const char* const s_apszClose[] = {"Wend", "Loop", "Loop", "Loop While ", "Loop Until "};
    Line(s_apszClose[nForm] + (nForm == 3 ? strGo : nForm == 4 ? strStop : ""));
}

std::string CGenerator::Expr(EType eType, const SContext& ctx, int nDepth)
{
    return eType == EType::Text ? Text(ctx, nDepth) : Number(ctx, nDepth);
}

std::string CGenerator::Number(const SContext& ctx, int nDepth)
{
    unsigned nKind = m_c.Pick(nDepth >= 4 ? 3 : 13);
    // Numbers only: the built-ins of numbers in place of texts compared.
    if (ctx.m_fNumbersOnly && nKind == 5)
        nKind = 8;
    if (ctx.m_fNumbersOnly && nKind == 9 && !ctx.m_fReadsArrays)
        nKind = 10;
    switch (nKind)
    {
    case 0:
        return PickOf(m_c, s_apszLongs);
    case 1:
        return PickOf(m_c, s_apszDoubles);
    case 2:
        return Variable(m_c.Chance(50) ? EType::Long : EType::Double, ctx, false);
    case 3:
        // Most divisors are no zero: variables that nothing assigned are.
        if (m_c.Chance(25))
            return Number(ctx, nDepth + 1) + " / " +
                   (m_c.Chance(15) ? Number(ctx, nDepth + 1) : "(" + Number(ctx, nDepth + 1) + " + 0.5)");
        return Number(ctx, nDepth + 1) + PickOf(m_c, s_apszArith) + Number(ctx, nDepth + 1);
    case 4:
        return "(" + Number(ctx, nDepth + 1) + PickOf(m_c, s_apszCompare) + Number(ctx, nDepth + 1) + ")";
    case 5:
        return "(" + Text(ctx, nDepth + 1) + PickOf(m_c, s_apszCompare) + Text(ctx, nDepth + 1) + ")";
    case 6:
        return "(" + Number(ctx, nDepth + 1) + (m_c.Chance(50) ? " And " : " Or ") + Number(ctx, nDepth + 1) +
               ")";
    case 7:
        return m_c.Chance(50) ? "(Not " + Number(ctx, nDepth + 1) + ")"
                              : "-(" + Number(ctx, nDepth + 1) + ")";
    case 8:
        if (ctx.m_fNumbersOnly || m_c.Chance(50))
            return NumberBuiltin(ctx, nDepth);
        return MeasureOfText(ctx, nDepth);
    case 9:
        if (ctx.m_fArrays || ctx.m_fReadsArrays)
            return Element(m_c.Chance(50) ? EType::Long : EType::Double, ctx, nDepth + 1);
        return PickOf(m_c, s_apszLongs);
    case 10:
    case 11:
        if (const SProc* pFunction = Callee(ctx, true, m_c.Chance(50) ? EType::Long : EType::Double))
            return Call(*pFunction, ctx, nDepth + 1);
        return Variable(EType::Long, ctx, false);
    default:
        return "(" + Number(ctx, nDepth + 1) + ")";
    }
}

// A built-in of numbers, which functions run whole take on, with Round's digits and
// mode sometimes computed.
std::string CGenerator::NumberBuiltin(const SContext& ctx, int nDepth)
{
    switch (m_c.Pick(4))
    {
    case 0:
        return "Abs(" + Number(ctx, nDepth + 1) + ")";
    case 1:
        return "Sgn(" + Number(ctx, nDepth + 1) + ")";
    case 2:
        return (m_c.Chance(50) ? "Fix(" : "Frac(") + Number(ctx, nDepth + 1) + ")";
    default:
        return "Round(" + Number(ctx, nDepth + 1) +
               (m_c.Chance(70) ? ", " + RoundArg(ctx, nDepth, 6, -1) +
                                     (m_c.Chance(60) ? ", " + RoundArg(ctx, nDepth, 5, 0) : "")
                               : "") +
               ")";
    }
}

// A number from texts. Val is the machinery's and ShowMessage the host's: with plain
// texts, Len or Asc and InStr instead.
std::string CGenerator::MeasureOfText(const SContext& ctx, int nDepth)
{
    unsigned nKind = m_c.Pick(4);
    if (ctx.m_fPlainTexts && (nKind == 1 || nKind == 3))
        --nKind;
    switch (nKind)
    {
    case 0:
        return (m_c.Chance(50) ? "Len(" : "Asc(") + Text(ctx, nDepth + 1) + ")";
    case 1:
        return "Val(" + Text(ctx, nDepth + 1) + ")";
    case 2:
        return "InStr(" + Text(ctx, nDepth + 1) + ", " + Text(ctx, nDepth + 1) + ")";
    default:
        return "ShowMessage(" + Text(ctx, 4) + ", \"?\", " + PickOf(m_c, s_apszLongs) + ")";
    }
}

// Round's digits or mode: mostly a constant of `nCount` from `nFrom`, else computed.
std::string CGenerator::RoundArg(const SContext& ctx, int nDepth, unsigned nCount, int nFrom)
{
    if (m_c.Chance(80))
        return std::to_string(static_cast<int>(m_c.Pick(nCount)) + nFrom);
    return Number(ctx, nDepth + 1);
}

std::string CGenerator::Text(const SContext& ctx, int nDepth)
{
    unsigned nKind = m_c.Pick(nDepth >= 4 ? 2 : 11);
    switch (nKind)
    {
    case 0:
        return PickOf(m_c, s_apszTexts);
    case 1:
        return Variable(EType::Text, ctx, false);
    case 2:
        return Text(ctx, nDepth + 1) + " + " + Text(ctx, nDepth + 1);
    case 3:
        // The number in brackets: `"a" + 1 - 2` would subtract from a text.
        return m_c.Chance(50) ? Text(ctx, nDepth + 1) + " + (" + Number(ctx, nDepth + 1) + ")"
                              : "(" + Number(ctx, nDepth + 1) + ") + " + Text(ctx, nDepth + 1);
    case 4:
        return (m_c.Chance(50) ? "Left$(" : "Right$(") + Text(ctx, nDepth + 1) + ", " +
               Number(ctx, nDepth + 1) + ")";
    case 5:
        return "Mid$(" + Text(ctx, nDepth + 1) + ", " + Number(ctx, nDepth + 1) +
               (m_c.Chance(50) ? ", " + Number(ctx, nDepth + 1) : "") + ")";
    case 6:
        switch (m_c.Pick(3))
        {
        case 0:
            return "Chr$(" + Number(ctx, nDepth + 1) + ")";
        case 1:
            return "LTrim$(" + Text(ctx, nDepth + 1) + ")";
        default:
            return "RTrim$(" + Text(ctx, nDepth + 1) + ")";
        }
    case 7:
        return "Str$(" + Number(ctx, nDepth + 1) +
               (m_c.Chance(50) ? std::string(", ") + PickOf(m_c, s_apszTemplates) : "") + ")";
    case 8:
        if (ctx.m_fPlainTexts)
            return PickOf(m_c, s_apszTexts);
        if (ctx.m_fArrays && m_c.Chance(50))
            return "NameOf(" + Element(static_cast<EType>(m_c.Pick(3)), ctx, nDepth + 1) + ")";
        return "NameOf(" + Variable(static_cast<EType>(m_c.Pick(3)), ctx, false) + ")";
    case 9:
        if (ctx.m_fArrays)
            return Element(EType::Text, ctx, nDepth + 1);
        return PickOf(m_c, s_apszTexts);
    default:
        if (const SProc* pFunction = Callee(ctx, true, EType::Text))
            return Call(*pFunction, ctx, nDepth + 1);
        return PickOf(m_c, s_apszTexts);
    }
}

// A variable of the type that the context sees: a parameter, a local, the function's
// result, or a global. A target is never d%.
std::string CGenerator::Variable(EType eType, const SContext& ctx, bool fTarget)
{
    std::vector<std::string> aNames;
    auto take = [&](const std::string& strName) {
        if (TypeOf(strName) == eType && !(fTarget && strName == "d%"))
            aNames.push_back(strName);
    };
    if (ctx.m_pProc != nullptr)
    {
        for (const std::string& strName : ctx.m_pProc->m_aParams)
            take(strName);
        for (const std::string& strName : ctx.m_pProc->m_aLocals)
            take(strName);
        if (ctx.m_pProc->m_fFunction)
            take(ctx.m_pProc->m_strName);
    }
    for (const char* pszName : s_apszGlobals)
        take(pszName);
    return aNames[m_c.Pick(static_cast<unsigned>(aNames.size()))];
}

std::string CGenerator::Element(EType eType, const SContext& ctx, int nDepth)
{
    std::string strIndex = m_c.Chance(70) ? std::to_string(m_c.Pick(5)) : Number(ctx, nDepth + 1);
    if (m_c.Chance(20))
        strIndex += ", " + std::to_string(m_c.Pick(3));
    return std::string(s_apszArrays[static_cast<int>(eType)]) + "(" + strIndex + ")";
}

// A procedure the context may call, of the kind asked for; itself only behind the test
// of d%.
const SProc* CGenerator::Callee(const SContext& ctx, bool fFunction, EType eType)
{
    std::vector<const SProc*> aCandidates;
    size_t nFirst = ctx.m_pProc != nullptr ? ctx.m_pProc->m_nFirstCallee : 0;
    size_t nLast = ctx.m_pProc != nullptr ? ctx.m_pProc->m_nLastCallee : m_aProcs.size();
    // A procedure of numbers only calls only its kind, and one of plain texts its kind or
    // numbers only, so that the calls run whole too.
    auto fits = [&](const SProc& proc) {
        return proc.m_fFunction == fFunction && (!ctx.m_fNumbersOnly || proc.m_fNumbersOnly) &&
               (!ctx.m_fPlainTexts || proc.m_fNumbersOnly || proc.m_fPlainTexts) &&
               (!fFunction || TypeOf(proc.m_strName) == eType ||
                (eType != EType::Text && TypeOf(proc.m_strName) != EType::Text));
    };
    for (size_t i = nFirst; i < nLast; ++i)
        if (fits(m_aProcs[i]))
            aCandidates.push_back(&m_aProcs[i]);
    SProc* pSelf = ctx.m_fSelf ? &m_aProcs[static_cast<size_t>(ctx.m_pProc - m_aProcs.data())] : nullptr;
    if (pSelf != nullptr && pSelf->m_nSelfCalls > 0 && fits(*pSelf))
        aCandidates.push_back(pSelf);
    if (aCandidates.empty())
        return nullptr;
    const SProc* pCallee = aCandidates[m_c.Pick(static_cast<unsigned>(aCandidates.size()))];
    if (pCallee == pSelf)
        --pSelf->m_nSelfCalls;
    return pCallee;
}

std::string CGenerator::Call(const SProc& callee, const SContext& ctx, int nDepth)
{
    return callee.m_strName + "(" + Arguments(callee, ctx, nDepth) + ")";
}

// The depth first: one less for a procedure's own call, else mostly small, now and then
// deep enough to meet a nesting limit.
std::string CGenerator::Arguments(const SProc& callee, const SContext& ctx, int nDepth)
{
    std::string strArgs;
    if (ctx.m_pProc == &callee)
        strArgs = m_c.Chance(80) ? "d% - 1" : "d% - 2";
    else
    {
        // d% may be deep itself: only a procedure that calls itself once gets it.
        static const char* const s_apszDepths[] = {"0",  "1",  "2",   "3",    "12",
                                                   "d%", "40", "700", "1990", "2600"};
        strArgs = s_apszDepths[m_c.Pick(callee.m_fDeep ? (m_c.Chance(85) ? 6 : 10) : 4)];
        if (strArgs == "d%" && ctx.m_pProc == nullptr)
            strArgs = "2";
    }
    for (size_t i = 1; i < callee.m_aParams.size(); ++i)
        strArgs += ", " + Expr(TypeOf(callee.m_aParams[i]), ctx, std::max(nDepth, 2));
    return strArgs;
}
} // namespace

SLumGeneratedProgram LumGenerateProgram(CLumChoices& choices, const std::string& strLibraryImage)
{
    return CGenerator(choices, strLibraryImage).Generate();
}

std::vector<uint8_t> LumSeededChoices(uint64_t nSeed)
{
    // mt19937_64 gives the same numbers everywhere; the distributions of <random> do not.
    std::mt19937_64 random(nSeed);
    std::vector<uint8_t> aChoices(256 + random() % 8192);
    for (uint8_t& n : aChoices)
        n = static_cast<uint8_t>(random() >> 56);
    return aChoices;
}
} // namespace lumfuzz
