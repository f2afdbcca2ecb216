// Signature help: inside the brackets of a built-in or a function, or behind the name
// of a Sub that a statement calls, the call's parameters with the one being typed.
#include "LumLspFeatures.h"

#include "LumBuiltinTable.h"

namespace
{
struct Call
{
    std::string m_strName;
    int m_nActive = 0;
};

// The call the cursor stands in: back from it to the bracket that no bracket behind
// it closes, counting the commas between; without such a bracket, the statement's
// first word, if the cursor stands behind it.
bool FindCall(const CLumLspAnalysis& analysis, SLumPos pos, Call& call)
{
    const std::vector<SLumLexToken>& aTokens = analysis.GetCompiler().GetTokens();
    size_t nIndex = analysis.TokenBefore(pos);
    if (nIndex >= aTokens.size())
        return false;
    int nDepth = 0;
    size_t i = nIndex + 1;
    while (i-- > 0)
    {
        const SLumLexToken& token = aTokens[i];
        if (token.m_eKind == ELumLex::EndOfStatement)
            break;
        if (token.IsSymbol(")"))
            ++nDepth;
        else if (token.IsSymbol("(") && nDepth > 0)
            --nDepth;
        else if (token.IsSymbol("("))
        {
            if (i == 0 || aTokens[i - 1].m_eKind != ELumLex::Word)
                return false;
            call.m_strName = aTokens[i - 1].m_strText;
            return true;
        }
        else if (token.IsSymbol(",") && nDepth == 0)
            ++call.m_nActive;
    }
    size_t nFirst = i + 1;
    bool fCallKeyword = nFirst < nIndex && aTokens[nFirst].IsWord("Call");
    nFirst += fCallKeyword ? 1 : 0;
    bool fBehindName =
        nFirst < nIndex || (nFirst == nIndex && aTokens[nIndex].m_posEnd.m_nLine == pos.m_nLine &&
                            pos.m_nColumn > aTokens[nIndex].m_posEnd.m_nColumn);
    if (!fBehindName || aTokens[nFirst].m_eKind != ELumLex::Word)
        return false;
    call.m_strName = aTokens[nFirst].m_strText;
    return true;
}

json Signature(const std::string& strLabelHead, const std::vector<std::string>& aParams,
               const std::string& strDoc)
{
    std::string strLabel = strLabelHead + "(";
    json aParameters = json::array();
    for (size_t i = 0; i < aParams.size(); ++i)
    {
        strLabel += i > 0 ? ", " : "";
        aParameters.push_back(json{{"label", {strLabel.size(), strLabel.size() + aParams[i].size()}}});
        strLabel += aParams[i];
    }
    json signature{{"label", strLabel + ")"}, {"parameters", aParameters}};
    if (!strDoc.empty())
        signature["documentation"] = strDoc;
    return signature;
}
} // namespace

json LumLspSignatureHelp(CLumLspWorkspace& workspace, const json& params)
{
    CLumLspWorkspace::At at = workspace.Locate(params);
    Call call;
    if (!FindCall(at.m_analysis, at.m_pos, call))
        return nullptr;
    json signature;
    if (const SLumBuiltin* pBuiltin = LumFindBuiltin(call.m_strName))
        signature = Signature(pBuiltin->m_pszName, LumBuiltinParams(*pBuiltin), pBuiltin->m_pszDoc);
    else if (const CLumProc* pProc = LumFindProcedure(workspace, at.m_document, call.m_strName).m_pProc)
    {
        std::vector<std::string> aParams;
        for (const CLumParam& param : pProc->m_aParams)
            aParams.push_back(param.m_strName);
        signature =
            Signature(std::string(pProc->m_fFunction ? "Function " : "Sub ") + pProc->m_strName, aParams, "");
    }
    else
        return nullptr;
    return json{{"signatures", json::array({signature})},
                {"activeSignature", 0},
                {"activeParameter", call.m_nActive}};
}
