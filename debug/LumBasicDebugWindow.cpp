#include <lumbasic/LumBasicDebugWindow.h>

#include "debug/LumDebugHost.h"

#include <cstring>

int CLumBasicDebugWindow::m_fProfile = 0;
int CLumBasicDebugWindow::m_fProfileExport = 0;
int CLumBasicDebugWindow::m_fProfileSave = 0;

namespace
{
LumDebugWindowFactory& Factory()
{
    static LumDebugWindowFactory s_fnFactory;
    return s_fnFactory;
}
} // namespace

LumDebugWindowFactory LumSetDebugWindowFactory(LumDebugWindowFactory fnFactory)
{
    LumDebugWindowFactory fnBefore = std::move(Factory());
    Factory() = std::move(fnFactory);
    return fnBefore;
}

std::unique_ptr<CLumBasicDebugWindow> LumMakeDebugWindow(CLumBasicDebugger* pDebugger, const char* pszText)
{
    return Factory() ? Factory()(pDebugger, pszText) : nullptr;
}

std::vector<std::string> LumSplitSourceLines(const char* pszText)
{
    std::vector<std::string> aLines;
    const char* psz = pszText ? pszText : "";
    for (;;)
    {
        const char* pszEnd = strstr(psz, "\r\n");
        if (pszEnd == nullptr)
        {
            // The last line needs no line end, but one that had it leaves no empty row.
            if (*psz != '\0' || aLines.empty())
                aLines.emplace_back(psz);
            return aLines;
        }
        aLines.emplace_back(psz, pszEnd);
        psz = pszEnd + 2;
    }
}
