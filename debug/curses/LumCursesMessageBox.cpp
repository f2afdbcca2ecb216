#include "LumCursesMessageBox.h"
#include "LumCursesDraw.h"
#include "LumCursesPopup.h"
#include "LumCursesText.h"

#include <lumbasic/LumDebugToolkit.h>
#include <lumbasic/LumMessageBox.h>

#include <algorithm>
#include <cwctype>

namespace
{
const int MAX_TEXT_WIDTH = 72;
const int MIN_TEXT_WIDTH = 16;

using Choice = std::pair<int, const char*>;
const Choice CHOICE_OK = {LUM_IDOK, "OK"};
const Choice CHOICE_CANCEL = {LUM_IDCANCEL, "Abbrechen"};
const Choice CHOICE_ABORT = {LUM_IDABORT, "Abbruch"};
const Choice CHOICE_RETRY = {LUM_IDRETRY, "Wiederholen"};
const Choice CHOICE_IGNORE = {LUM_IDIGNORE, "Ignorieren"};
const Choice CHOICE_YES = {LUM_IDYES, "Ja"};
const Choice CHOICE_NO = {LUM_IDNO, "Nein"};

// By the low four bits of the style; a set this platform does not know shows OK.
std::vector<Choice> ChoicesOf(long nStyle)
{
    switch (nStyle & LUM_MB_TYPEMASK)
    {
    case LUM_MB_OKCANCEL:
        return {CHOICE_OK, CHOICE_CANCEL};
    case LUM_MB_ABORTRETRYIGNORE:
        return {CHOICE_ABORT, CHOICE_RETRY, CHOICE_IGNORE};
    case LUM_MB_YESNOCANCEL:
        return {CHOICE_YES, CHOICE_NO, CHOICE_CANCEL};
    case LUM_MB_YESNO:
        return {CHOICE_YES, CHOICE_NO};
    case LUM_MB_RETRYCANCEL:
        return {CHOICE_RETRY, CHOICE_CANCEL};
    default:
        return {CHOICE_OK};
    }
}

int TextWidthOf(const std::wstring& strText)
{
    int nWidth = 0;
    for (const std::wstring& strLine : LumWrapText(strText, 1 << 20))
        nWidth = std::max(nWidth, LumTextWidth(strLine));
    return nWidth;
}
} // namespace

CLumCursesMessageBox::CLumCursesMessageBox(const char* pszText, const char* pszCaption, long nStyle,
                                           CLumCursesTerminal& terminal, std::function<void()> fnBackground)
    : m_strText(LumDecodeUtf8(pszText != nullptr ? pszText : "")),
      m_strCaption(LumDecodeUtf8(pszCaption != nullptr ? pszCaption : "")), m_terminal(terminal),
      m_fnBackground(std::move(fnBackground))
{
    for (const Choice& choice : ChoicesOf(nStyle))
        m_aButtons.push_back({choice.first, choice.second});
    int nDefault = static_cast<int>((nStyle & LUM_MB_DEFMASK) >> 8);
    m_nDefault = nDefault < static_cast<int>(m_aButtons.size()) ? nDefault : 0;
    m_nFocus = m_nDefault;
}

int CLumCursesMessageBox::Run()
{
    int nAnswer = 0;
    while (nAnswer == 0)
    {
        Draw();
        nAnswer = OnKey(m_terminal.ReadKey());
    }
    return nAnswer;
}

void CLumCursesMessageBox::Draw()
{
    m_fnBackground();
    std::vector<std::wstring> aFaces;
    for (const Button& button : m_aButtons)
        aFaces.push_back(LumButtonFace(button.m_pszLabel, false, true));
    int nWidth = std::max(
        {TextWidthOf(m_strText), LumButtonRowWidth(aFaces), LumTextWidth(m_strCaption) + 2, MIN_TEXT_WIDTH});
    nWidth = std::min({nWidth, MAX_TEXT_WIDTH, COLS - 4});
    std::vector<std::wstring> aLines = LumWrapText(m_strText, nWidth);
    m_nLines = static_cast<int>(aLines.size());
    // The frame, a blank line, the text, a blank line, the buttons, the frame.
    SLumRect rc = LumCenterPopup(m_nLines + 5, nWidth + 4);
    LumDrawPopup(rc, m_strCaption, m_terminal);
    m_nTextRows = std::max(rc.m_nHeight - 5, 0);
    ScrollText(0);
    for (int i = 0; i < m_nTextRows && m_nTopLine + i < m_nLines; ++i)
        LumDrawText(rc.m_nY + 2 + i, rc.m_nX + 2, rc.m_nWidth - 4,
                    aLines[static_cast<size_t>(m_nTopLine + i)], A_NORMAL);
    if (m_nTopLine > 0)
        LumDrawCell(rc.m_nY + 2, rc.m_nX + rc.m_nWidth - 1, WACS_UARROW, A_BOLD);
    if (m_nTopLine + m_nTextRows < m_nLines)
        LumDrawCell(rc.m_nY + 1 + m_nTextRows, rc.m_nX + rc.m_nWidth - 1, WACS_DARROW, A_BOLD);
    m_aPlaces = LumLayoutButtonRow(rc.m_nY + rc.m_nHeight - 2, rc.m_nX + 2, rc.m_nWidth - 4, aFaces);
    for (size_t i = 0; i < aFaces.size(); ++i)
        LumDrawButton(m_aPlaces[i], aFaces[i], static_cast<int>(i) == m_nFocus, m_terminal);
    m_terminal.Flush();
}

int CLumCursesMessageBox::OnKey(const SLumCursesKey& key)
{
    int nCount = static_cast<int>(m_aButtons.size());
    if (key.m_eKind == SLumCursesKey::End)
        return m_aButtons[static_cast<size_t>(m_nDefault)].m_nAnswer;
    if (LumIsEnter(key) || key.IsChar(' '))
        return m_aButtons[static_cast<size_t>(m_nFocus)].m_nAnswer;
    if (LumIsEscape(key))
        return EscapeAnswer();
    if (key.m_eKind == SLumCursesKey::Mouse)
    {
        int nButton = key.m_fClick || key.m_fDoubleClick ? LumButtonAt(m_aPlaces, key.m_nY, key.m_nX) : -1;
        ScrollText(key.m_nWheel);
        return nButton >= 0 ? m_aButtons[static_cast<size_t>(nButton)].m_nAnswer : 0;
    }
    if (key.IsKey(KEY_RIGHT) || key.IsChar('\t'))
        m_nFocus = (m_nFocus + 1) % nCount;
    else if (key.IsKey(KEY_LEFT) || key.IsKey(KEY_BTAB))
        m_nFocus = (m_nFocus + nCount - 1) % nCount;
    else if (key.IsKey(KEY_UP) || key.IsKey(KEY_DOWN))
        ScrollText(key.IsKey(KEY_UP) ? -1 : 1);
    else if (key.IsKey(KEY_PPAGE) || key.IsKey(KEY_NPAGE))
        ScrollText(key.IsKey(KEY_PPAGE) ? -m_nTextRows : m_nTextRows);
    else if (LumIsRepaint(key))
        m_terminal.Repaint();
    else if (key.m_eKind == SLumCursesKey::Char)
        return OnLetter(key.m_nCode);
    return 0;
}

// The buttons of a set begin with letters of their own.
int CLumCursesMessageBox::OnLetter(unsigned nChar) const
{
    for (const Button& button : m_aButtons)
        if (towupper(static_cast<wint_t>(nChar)) == static_cast<wint_t>(button.m_pszLabel[0]))
            return button.m_nAnswer;
    return 0;
}

// A box closes with Escape only where that does no harm: as Cancel, or as the
// OK that is the only choice.
int CLumCursesMessageBox::EscapeAnswer() const
{
    for (const Button& button : m_aButtons)
        if (button.m_nAnswer == LUM_IDCANCEL)
            return LUM_IDCANCEL;
    return m_aButtons.size() == 1 ? m_aButtons[0].m_nAnswer : 0;
}

void CLumCursesMessageBox::ScrollText(int nDelta)
{
    m_nTopLine = std::max(std::min(m_nTopLine + nDelta, m_nLines - m_nTextRows), 0);
}
