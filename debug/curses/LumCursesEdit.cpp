#include "LumCursesEdit.h"
#include "LumCursesDraw.h"
#include "LumCursesText.h"

#include <algorithm>

namespace
{
// What may go into a text box: no control characters, no surrogate halves, nothing
// beyond Unicode.
bool IsTypeable(unsigned nChar)
{
    return nChar >= 0x20 && nChar != 0x7F && !(nChar >= 0x80 && nChar < 0xA0) &&
           !(nChar >= 0xD800 && nChar < 0xE000) && nChar <= 0x10FFFF;
}
} // namespace

CLumCursesEdit::CLumCursesEdit(const std::string& strText) : m_strText(LumDecodeUtf8(strText))
{
    m_nCaret = m_strText.size();
}

bool CLumCursesEdit::OnKey(const SLumCursesKey& key)
{
    if (key.m_eKind == SLumCursesKey::Key)
        return OnEditKey(key.m_nCode);
    if (key.m_eKind != SLumCursesKey::Char)
        return false;
    if (key.m_nCode == 0x7F || key.m_nCode == 0x08)
        return OnEditKey(KEY_BACKSPACE);
    if (!IsTypeable(key.m_nCode))
        return false;
    m_strText.insert(m_nCaret++, 1, static_cast<wchar_t>(key.m_nCode));
    return true;
}

bool CLumCursesEdit::OnEditKey(unsigned nKey)
{
    switch (nKey)
    {
    case KEY_BACKSPACE:
        if (m_nCaret > 0)
            m_strText.erase(--m_nCaret, 1);
        return true;
    case KEY_DC:
        if (m_nCaret < m_strText.size())
            m_strText.erase(m_nCaret, 1);
        return true;
    case KEY_LEFT:
        m_nCaret -= m_nCaret > 0 ? 1 : 0;
        return true;
    case KEY_RIGHT:
        m_nCaret += m_nCaret < m_strText.size() ? 1 : 0;
        return true;
    case KEY_HOME:
        m_nCaret = 0;
        return true;
    case KEY_END:
        m_nCaret = m_strText.size();
        return true;
    default:
        return false;
    }
}

void CLumCursesEdit::ClickAt(int nColumn)
{
    int nTarget = m_nSkip + std::max(nColumn, 0);
    m_nCaret = 0;
    while (m_nCaret < m_strText.size() && LumTextWidth(m_strText, m_nCaret + 1) <= nTarget)
        ++m_nCaret;
}

void CLumCursesEdit::Draw(int nY, int nX, int nWidth, bool fFocus, const CLumCursesTerminal& terminal)
{
    // The last column stays free for the caret behind the text.
    int nCaret = LumTextWidth(m_strText, m_nCaret);
    if (nCaret < m_nSkip)
        m_nSkip = nCaret;
    else if (nCaret > m_nSkip + nWidth - 1)
        m_nSkip = nCaret - std::max(nWidth - 1, 0);
    LumDrawText(nY, nX, nWidth, m_strText, terminal.Look(ELumCursesLook::Field), m_nSkip, true);
    if (fFocus)
        wmove(stdscr, nY, std::min(nX + nCaret - m_nSkip, COLS - 1));
}

std::string CLumCursesEdit::GetText() const
{
    return LumEncodeUtf8(m_strText);
}
