#include <lumbasic/LumMessageBox.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <string>
#include <unistd.h>

namespace
{
struct Button
{
    int m_nAnswer;
    char m_cKey;
    const char* m_pszLabel;
};

const Button OK = {LUM_IDOK, 'O', "OK"};
const Button CANCEL = {LUM_IDCANCEL, 'A', "Abbrechen"};
const Button ABORT = {LUM_IDABORT, 'A', "Abbrechen"};
const Button RETRY = {LUM_IDRETRY, 'W', "Wiederholen"};
const Button IGNORE = {LUM_IDIGNORE, 'I', "Ignorieren"};
const Button YES = {LUM_IDYES, 'J', "Ja"};
const Button NO = {LUM_IDNO, 'N', "Nein"};

struct ButtonSet
{
    int m_nCount;
    Button m_aButtons[3];
};

// By the low four bits of the style; a set this platform does not know shows OK.
ButtonSet Buttons(long nStyle)
{
    switch (nStyle & LUM_MB_TYPEMASK)
    {
    case LUM_MB_OKCANCEL:
        return {2, {OK, CANCEL, {}}};
    case LUM_MB_ABORTRETRYIGNORE:
        return {3, {ABORT, RETRY, IGNORE}};
    case LUM_MB_YESNOCANCEL:
        return {3, {YES, NO, CANCEL}};
    case LUM_MB_YESNO:
        return {2, {YES, NO, {}}};
    case LUM_MB_RETRYCANCEL:
        return {2, {RETRY, CANCEL, {}}};
    default:
        return {1, {OK, {}, {}}};
    }
}

int DefaultIndex(long nStyle, int nCount)
{
    int nIndex = static_cast<int>((nStyle & LUM_MB_DEFMASK) >> 8);
    return nIndex < nCount ? nIndex : 0;
}

void ShowText(const char* pszText, const char* pszCaption)
{
    fprintf(stderr, "%s\n%s\n", pszCaption ? pszCaption : "", pszText ? pszText : "");
}

void Prompt(const ButtonSet& set, int nDefault)
{
    for (int i = 0; i < set.m_nCount; ++i)
        fprintf(stderr, "%s%d (%c) %s", i > 0 ? ", " : "[", i + 1, set.m_aButtons[i].m_cKey,
                set.m_aButtons[i].m_pszLabel);
    fprintf(stderr, "; Enter: %s] ", set.m_aButtons[nDefault].m_pszLabel);
    fflush(stderr);
}

// The button an answer line names, by its number in the set or its key; -1 for none.
int Choose(const ButtonSet& set, const char* pszLine, int nDefault)
{
    while (*pszLine == ' ' || *pszLine == '\t')
        ++pszLine;
    size_t nLength = strcspn(pszLine, "\r\n");
    while (nLength > 0 && (pszLine[nLength - 1] == ' ' || pszLine[nLength - 1] == '\t'))
        --nLength;
    if (nLength == 0)
        return nDefault;
    if (nLength != 1)
        return -1;
    char c = pszLine[0];
    for (int i = 0; i < set.m_nCount; ++i)
        if (c == '1' + i || toupper(static_cast<unsigned char>(c)) == set.m_aButtons[i].m_cKey)
            return i;
    return -1;
}

// The box of the process. Runs on other threads may copy it while a host installs
// another: the lock keeps them from reading it half written. A box is no hot path.
std::mutex s_cBoxLock;

LumMessageBoxFunction& Installed()
{
    static LumMessageBoxFunction s_fnBox;
    return s_fnBox;
}
} // namespace

int LumMessageBoxDefault(long nStyle)
{
    ButtonSet set = Buttons(nStyle);
    return set.m_aButtons[DefaultIndex(nStyle, set.m_nCount)].m_nAnswer;
}

int LumConsoleMessageBox(const char* pszText, const char* pszCaption, long nStyle)
{
    ButtonSet set = Buttons(nStyle);
    int nDefault = DefaultIndex(nStyle, set.m_nCount);
    ShowText(pszText, pszCaption);
    if (!isatty(STDIN_FILENO))
        return set.m_aButtons[nDefault].m_nAnswer;
    char szLine[256];
    for (;;)
    {
        Prompt(set, nDefault);
        if (fgets(szLine, sizeof szLine, stdin) == nullptr)
            return set.m_aButtons[nDefault].m_nAnswer;
        if (strchr(szLine, '\n') == nullptr && !feof(stdin))
        {
            // A line longer than the buffer is no valid answer; drop its rest.
            int c;
            while ((c = fgetc(stdin)) != EOF && c != '\n')
                continue;
            continue;
        }
        int nChoice = Choose(set, szLine, nDefault);
        if (nChoice >= 0)
            return set.m_aButtons[nChoice].m_nAnswer;
    }
}

LumMessageBoxFunction LumSetMessageBox(LumMessageBoxFunction fnBox)
{
    std::lock_guard<std::mutex> lock(s_cBoxLock);
    LumMessageBoxFunction fnOld = std::move(Installed());
    Installed() = std::move(fnBox);
    return fnOld;
}

int LumMessageBox(const char* pszText, const char* pszCaption, long nStyle)
{
    // A copy, so that a box that installs another while it runs stays alive, and so
    // that the box runs outside the lock.
    LumMessageBoxFunction fnBox;
    {
        std::lock_guard<std::mutex> lock(s_cBoxLock);
        fnBox = Installed();
    }
    if (fnBox)
        return fnBox(pszText, pszCaption, nStyle);
    return LumConsoleMessageBox(pszText, pszCaption, nStyle);
}
