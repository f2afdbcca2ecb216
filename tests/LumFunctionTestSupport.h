// Runs one built-in call in a Sub Main and reads its result back from the store.
#pragma once

#include "tests/LumTestSupport.h"
#include "res/LumMessages.h"

#include <algorithm>
#include <clocale>
#include <cstdio>
#include <string>
#include <vector>

namespace lumfn
{
inline CLumTree L(int32_t n)
{
    return CLumTree::LongConst(n);
}
// The text is kept, so that the image holds exactly the digits written here.
inline CLumTree D(const char* pszText)
{
    return CLumTree::DoubleConst(std::string_view(pszText));
}
inline CLumTree S(std::string_view text)
{
    return CLumTree::StringConst(text);
}
inline CLumTree Fn(unsigned short wToken, const std::vector<CLumTree>& aArgs)
{
    return CLumTree::Function(wToken, aArgs);
}

// Runs `pszName = tree` and gives the stored value's text and the trail.
inline std::string Run(const char* pszName, const CLumTree& tree, std::vector<std::string>* pTrail,
                       double* pdValue = nullptr)
{
    CLumVariables vars;
    CLumBasic basic(&vars, nullptr);
    *pTrail = lumtest::RunImage(
        basic, lumtest::MainProgram([&](CLumImageWriter& w) { lumtest::AssignName(w, pszName, tree); }));
    CLumsVarValue* pValue = vars.Lookup(pszName);
    if (pdValue != nullptr && pValue != nullptr)
        *pdValue = pValue->GetDouble();
    return pValue ? pValue->GetText() : "<not stored>";
}

// The result of t$ = "" + tree: a long shows as "%ld", a double as "%f", so the
// text tells the type too.
inline std::string TextOf(const CLumTree& tree)
{
    std::vector<std::string> trail;
    std::string str = Run("t$", CLumTree::Operator(LBT_PLUS, S(""), tree), &trail);
    EXPECT_TRUE(trail.empty()) << (trail.empty() ? "" : trail[0]);
    return str;
}

// The exact double of r = tree.
inline double DoubleOf(const CLumTree& tree)
{
    std::vector<std::string> trail;
    double d = -999.0;
    Run("r", tree, &trail, &d);
    EXPECT_TRUE(trail.empty()) << (trail.empty() ? "" : trail[0]);
    return d;
}

// The first entries of the trail of a failing call.
inline std::vector<std::string> TrailHead(const CLumTree& tree, size_t nEntries)
{
    std::vector<std::string> trail;
    Run("t$", tree, &trail);
    trail.resize(std::min(trail.size(), nEntries));
    return trail;
}

template <class... Args> std::string Msg(int id, Args... args)
{
    char buffer[1024];
    snprintf(buffer, sizeof buffer, LoadMessage(id).c_str(), args...);
    return buffer;
}

// A locale with a decimal comma for the process, as a host may set one.
class CGermanLocale
{
public:
    CGermanLocale() : m_strOld(setlocale(LC_ALL, nullptr))
    {
        for (const char* psz : {"de_DE.UTF-8", "de_DE.utf8", "de_DE"})
            if (setlocale(LC_ALL, psz) != nullptr)
                return;
    }
    ~CGermanLocale() { setlocale(LC_ALL, m_strOld.c_str()); }
    bool HasDecimalComma() const { return localeconv()->decimal_point[0] == ','; }

private:
    std::string m_strOld;
};
} // namespace lumfn
