// Reads one expression tree from the image and evaluates it. Each evaluation makes
// its own object; built-in functions read their arguments through the interpreter,
// which makes further expressions, so evaluation re-enters itself.
#pragma once

#include <lumbasic/LumBasic.h>

#include "expr/LumTermNode.h"

#include <string_view>

class CLumExpression : public CLumObject
{
    LUM_DECLARE_RUNTIME(CLumExpression)

public:
    // Deeper trees fail instead of exhausting the stack.
    static constexpr int MAX_TREE_DEPTH = 1000;
    // Expressions nested through function arguments, at most.
    static constexpr int MAX_NESTING = 5000;

    CLumExpression(CLumBasicFile* pFile, CLumVariables* pVariables, CLumBasic* pBasic)
        : m_pFile(pFile), m_pVariables(pVariables), m_pBasic(pBasic)
    {
    }
    ~CLumExpression() override;
    CLumExpression(const CLumExpression&) = delete;
    CLumExpression& operator=(const CLumExpression&) = delete;

    // Reads the tree at the file's position and gives its value, owned by the caller.
    virtual CLumsVarValue* Auswerten();
    virtual CLumTermNode* ReadTree();
    void destroy(CLumTermNode* pNode);
    virtual CLumsVarValue* Berechne(CLumTermNode* pNode);
    // Fills the six indices of an array node; gives the length of the name.
    virtual int GetIndices(CLumTermNode* pNode, long* pIndices);
    virtual CLumsVarValue* Operator(unsigned short wToken, CLumTermNode* pNode);
    virtual CLumsVarValue* Operation(unsigned short wToken, CLumsVarValue* pLeft, CLumsVarValue* pRight);

    // Built-in functions: each reads its own arguments and gives a new value.
    virtual CLumsVarValue* Abs();
    virtual CLumsVarValue* Sgn();
    virtual CLumsVarValue* Asc();
    virtual CLumsVarValue* Len();
    virtual CLumsVarValue* Val();
    virtual CLumsVarValue* Fix();
    virtual CLumsVarValue* Frac();
    virtual CLumsVarValue* InStr();
    virtual CLumsVarValue* Round();
    virtual CLumsVarValue* LeftStr();
    virtual CLumsVarValue* RightStr();
    virtual CLumsVarValue* MidStr();
    virtual CLumsVarValue* ChrStr();
    virtual CLumsVarValue* RTrimStr();
    virtual CLumsVarValue* LTrimStr();
    virtual CLumsVarValue* StrStr();
    virtual CLumsVarValue* GetSysTimeStr();
    virtual CLumsVarValue* UserFunction();
    virtual int FillTemplate(char* pszDest, const char* pszTemplate, CLumsVarValue* pValue, int nSize);
    // Str$ on the arguments its handler read (the template null where none was given),
    // into `out`: the fast form computes it so on arguments it computed itself.
    void StrOf(CLumsVarValue& number, const CLumsVarValue* pTemplate, CLumsVarValue& out);
    virtual CLumsVarValue* ExtFunction(unsigned short wToken);
    virtual double DoubleRound(double x, int nMode, int nDigits);

    CLumsVarValue* GetArg(CLumBasic::AusdruckTyp type, int nParam) { return m_pBasic->GetArg(type, nParam); }
    int HasArg() { return m_pBasic->HasArg(); }

protected:
    CLumTermNode* ReadTree(int nDepth);
    // Evaluation into a value of the caller's: the nodes of one tree share no heap
    // values, only their results are copied.
    void Eval(CLumTermNode* pNode, CLumsVarValue& out);
    void EvalOperator(unsigned short wToken, CLumTermNode* pNode, CLumsVarValue& out);
    void Apply(unsigned short wToken, const CLumsVarValue& l, const CLumsVarValue& r, CLumsVarValue& out);
    void Variable(CLumTermNode* pNode, CLumsVarValue& out);
    CLumsVarValue* FindVariable(CLumTermNode* pNode, const char* pszName);
    CLumsVarValue* Function(const CLumTermNode* pNode);
    CLumsVarValue* CallBuiltin(unsigned short wToken);

    CLumBasicFile* m_pFile;
    CLumVariables* m_pVariables;
    // The tree read last; owned unless it came from the cursor's cache.
    CLumTermNode* m_pRoot = nullptr;
    bool m_fOwnRoot = false;
    CLumBasic* m_pBasic;
};

// Applies a binary operator of an expression tree to two values, into `out`, which may
// be the left one.
void LumApplyOperator(unsigned short wToken, const CLumsVarValue& l, const CLumsVarValue& r,
                      CLumsVarValue& out);

// The built-ins of numbers on a number, in place: the handlers read their arguments and
// call these, and so do closed runs of the fast form, which read theirs as numbers.
// Round takes `digits` and `mode` where they were given.
void LumAbsOf(CLumsVarValue& value) noexcept;
void LumSgnOf(CLumsVarValue& value) noexcept;
void LumFixOf(CLumsVarValue& value) noexcept;
void LumFracOf(CLumsVarValue& value) noexcept;
void LumRoundOf(CLumsVarValue& value, const CLumsVarValue* pDigits, const CLumsVarValue* pMode) noexcept;

// The built-ins of texts, in place in their first argument's value, a text, as the
// handlers compute them on the arguments they read: the fast form computes them so on
// arguments it computed itself. Chr$ gives its byte, 0 for the empty text.
void LumLeftOf(CLumsVarValue& text, long nCount);
void LumRightOf(CLumsVarValue& text, long nCount);
void LumMidOf(CLumsVarValue& text, long nStart, long nCount);
// The part of a text that Left$ (LBT_LEFT, `n` its count), Right$ (LBT_RIGHT) or Mid$
// (LBT_MID, `n` its start, `nCount` its count, 0 for the rest) keep, from the text
// itself: the functions above cut their value to it.
std::string_view LumSliceOf(std::string_view text, unsigned short wToken, long n, long nCount);
void LumRTrimOf(CLumsVarValue& text);
void LumLTrimOf(CLumsVarValue& text);
char LumChrOf(long nCode);
// Asc and InStr on the texts their handlers read (Len is a text's size): they only
// read, so the fast form hands them a variable's text where it stands.
long LumAscOf(std::string_view text) noexcept;
long LumInStrOf(std::string_view text, std::string_view search) noexcept;
