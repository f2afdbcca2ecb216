#include "ext/LumHostModul.h"

#include "core/LumFrame.h"

#include <algorithm>
#include <cstring>
#include <strings.h>

LUM_IMPLEMENT_RUNTIME(CLumHostModul, CLumBasicExtModul, nullptr)

namespace
{
const char* const FILE_LABEL = "LUMHOSTMODUL";

// The variable that the operand at the cursor names when it is a plain variable: the
// tree behind LBT_EXPRESSION is one variable node, whose data is the name. Null for
// any other tree, and for one too short to hold what it claims.
const char* VariableAt(const CLumBasicFile& file)
{
    const unsigned char* pNode = file.GetPosition() + 2;
    if (!file.CanReadAt(pNode, 4) || (pNode[0] | (pNode[1] << 8)) != LBN_VARIABLE)
        return nullptr;
    size_t nLength = static_cast<size_t>(pNode[2] | (pNode[3] << 8));
    const unsigned char* pData = pNode + 4;
    if (!file.CanReadAt(pData, nLength) || memchr(pData, 0, nLength) == nullptr)
        return nullptr;
    return reinterpret_cast<const char*>(pData);
}
} // namespace

void CLumHostModul::Add(SLumHostName name, LumHostStatement fnStatement, LumHostFunction fnFunction)
{
    for (const SLumHostName& other : m_aNames)
    {
        if (strcasecmp(other.m_strName.c_str(), name.m_strName.c_str()) == 0)
            LumRaise(LUM_MSG_HOST_REGISTERED, name.m_strName.c_str());
        if (other.m_wToken == name.m_wToken)
            LumRaise(LUM_MSG_HOST_SAME_TOKEN, name.m_strName.c_str(), static_cast<unsigned>(name.m_wToken),
                     other.m_strName.c_str());
    }
    auto pEntry = std::make_unique<SEntry>();
    pEntry->m_strName = name.m_strName;
    pEntry->m_nArgs = name.m_nArgs;
    pEntry->m_fnStatement = std::move(fnStatement);
    pEntry->m_fnFunction = std::move(fnFunction);
    std::pair<unsigned short, size_t> token{name.m_wToken, m_aEntries.size()};
    m_aTokens.insert(std::upper_bound(m_aTokens.begin(), m_aTokens.end(), token), token);
    m_aEntries.push_back(std::move(pEntry));
    m_aNames.push_back(std::move(name));
}

// On the path of every statement that reaches the dispatch: the tokens of the
// interpreter's own classes, which no host name has, cost one comparison.
const CLumHostModul::SEntry* CLumHostModul::Find(unsigned short wToken, bool fFunction) const
{
    if ((wToken & 0xFFu) - 0x80u <= 0x05u)
        return nullptr;
    auto it = std::lower_bound(m_aTokens.begin(), m_aTokens.end(), std::make_pair(wToken, size_t{0}));
    if (it == m_aTokens.end() || it->first != wToken || m_aNames[it->second].m_fFunction != fFunction)
        return nullptr;
    return m_aEntries[it->second].get();
}

// More operands than the name takes fail before the first of them is evaluated;
// fewer fail as a built-in function's missing parameter does.
void CLumHostModul::ReadArguments(const SEntry& entry, CLumHostArgs& args)
{
    if (entry.m_nArgs != LUM_ANY_ARGS)
        args.m_aValues.reserve(static_cast<size_t>(entry.m_nArgs));
    for (int nParam = 1; HasArg(); ++nParam)
    {
        if (entry.m_nArgs != LUM_ANY_ARGS && nParam > entry.m_nArgs)
            LumRaise(LUM_MSG_HOST_TOO_MANY_ARGS, entry.m_strName.c_str(), entry.m_nArgs);
        args.m_aNames.push_back(VariableAt(*GetBasisModul()->GetQuelle()));
        std::unique_ptr<CLumsVarValue> pValue(GetArg(CLumBasic::AT_ANY, nParam));
        args.m_aValues.emplace_back();
        args.m_aValues.back().Swap(*pValue);
    }
    if (entry.m_nArgs != LUM_ANY_ARGS && args.GetCount() < entry.m_nArgs)
        LumRaise(LUM_MSG_ARG_MISSING, args.GetCount() + 1);
}

int CLumHostModul::DispatchToken(unsigned short wToken)
{
    const SEntry* pEntry = Find(wToken, false);
    if (pEntry == nullptr)
        return 1;
    return LumFrameEx(FILE_LABEL, "CLumHostModul::DispatchToken", lumframe::NoContext(),
                      lumframe::Unexpected(), lumframe::ForeignText(), [&] {
                          CLumHostArgs args(*GetBasisModul(), pEntry->m_strName);
                          ReadArguments(*pEntry, args);
                          pEntry->m_fnStatement(args);
                          return 0;
                      });
}

CLumsVarValue* CLumHostModul::ExtFunction(unsigned short wToken)
{
    const SEntry* pEntry = Find(wToken, true);
    if (pEntry == nullptr)
        return nullptr;
    return LumFrameEx(FILE_LABEL, "CLumHostModul::ExtFunction", lumframe::NoContext(), lumframe::Unexpected(),
                      lumframe::ForeignText(), [&] {
                          CLumHostArgs args(*GetBasisModul(), pEntry->m_strName);
                          ReadArguments(*pEntry, args);
                          CLumsVarValue result = pEntry->m_fnFunction(args);
                          auto pResult = std::make_unique<CLumsVarValue>();
                          pResult->Swap(result);
                          return pResult.release();
                      });
}
