#include "LumCursesForm.h"
#include "LumCursesDraw.h"
#include "LumCursesPopup.h"
#include "LumCursesText.h"

#include <algorithm>

namespace
{
const int MIN_BOX_WIDTH = 30;

std::vector<std::wstring> Faces()
{
    return {LumButtonFace("OK", true, true), LumButtonFace("Abbrechen", false, true)};
}

// The frame, a blank line, a line per field, a blank line, the buttons, the frame.
SLumRect FormRect(const SLumDebugForm& form, int nLabels)
{
    int nInner = std::max(nLabels + 1 + MIN_BOX_WIDTH, LumTextWidth(LumDecodeUtf8(form.m_strTitle)) + 4);
    nInner = std::max(nInner, LumButtonRowWidth(Faces()));
    return LumCenterPopup(static_cast<int>(form.m_aFields.size()) + 5, nInner + 4);
}
} // namespace

CLumCursesForm::CLumCursesForm(SLumDebugForm& form, CLumCursesTerminal& terminal,
                               std::function<void()> fnBackground)
    : m_form(form), m_terminal(terminal), m_fnBackground(std::move(fnBackground))
{
    for (const SLumDebugForm::Field& field : form.m_aFields)
        m_aEdits.emplace_back(field.m_strValue);
}

bool CLumCursesForm::Run()
{
    EResult eResult = Open;
    while (eResult == Open)
    {
        Draw();
        eResult = OnKey(m_terminal.ReadKey());
    }
    m_terminal.ShowCursor(false);
    if (eResult != Ok)
        return false;
    for (size_t i = 0; i < m_aEdits.size(); ++i)
        m_form.m_aFields[i].m_strValue = m_aEdits[i].GetText();
    return true;
}

void CLumCursesForm::Draw()
{
    m_fnBackground();
    int nLabels = 0;
    for (const SLumDebugForm::Field& field : m_form.m_aFields)
        nLabels = std::max(nLabels, LumTextWidth(LumDecodeUtf8(field.m_strLabel)) + 1);
    SLumRect rc = FormRect(m_form, nLabels);
    LumDrawPopup(rc, LumDecodeUtf8(m_form.m_strTitle), m_terminal);
    SLumRect rcInner = {rc.m_nY + 1, rc.m_nX + 2, rc.m_nHeight - 2, rc.m_nWidth - 4};
    int nButtonRow = rc.m_nY + rc.m_nHeight - 2;
    m_aBoxes.assign(m_aEdits.size(), SLumRect());
    for (size_t i = 0; i < m_aEdits.size(); ++i)
    {
        int nY = rcInner.m_nY + 1 + static_cast<int>(i);
        if (nY >= nButtonRow)
            break;
        LumDrawText(nY, rcInner.m_nX, nLabels, LumDecodeUtf8(m_form.m_aFields[i].m_strLabel + ":"), A_NORMAL);
        m_aBoxes[i] = {nY, rcInner.m_nX + nLabels + 1, 1, rcInner.m_nWidth - nLabels - 1};
        m_aEdits[i].Draw(nY, m_aBoxes[i].m_nX, m_aBoxes[i].m_nWidth, false, m_terminal);
    }
    // The blank line above the buttons, if the screen left it to the form.
    int nRefusalRow = nButtonRow - 1;
    if (!m_strRefusal.empty() && nRefusalRow > rcInner.m_nY + static_cast<int>(m_aEdits.size()))
        LumDrawText(nRefusalRow, rcInner.m_nX, rcInner.m_nWidth, m_strRefusal, A_BOLD);
    std::vector<std::wstring> aFaces = Faces();
    m_aButtons = LumLayoutButtonRow(nButtonRow, rcInner.m_nX, rcInner.m_nWidth, aFaces);
    for (size_t i = 0; i < aFaces.size(); ++i)
        LumDrawButton(m_aButtons[i], aFaces[i], m_nFocus == OkIndex() + static_cast<int>(i), m_terminal);
    // The focused box last, so that the terminal's cursor stays at its caret.
    bool fField = m_nFocus < OkIndex() && !m_aBoxes[static_cast<size_t>(m_nFocus)].IsEmpty();
    if (fField)
    {
        const SLumRect& rcBox = m_aBoxes[static_cast<size_t>(m_nFocus)];
        m_aEdits[static_cast<size_t>(m_nFocus)].Draw(rcBox.m_nY, rcBox.m_nX, rcBox.m_nWidth, true,
                                                     m_terminal);
    }
    m_terminal.ShowCursor(fField);
    m_terminal.Flush();
}

CLumCursesForm::EResult CLumCursesForm::OnKey(const SLumCursesKey& key)
{
    if (key.m_eKind == SLumCursesKey::End || LumIsEscape(key))
        return Cancel;
    if (LumIsEnter(key) && m_nFocus + 1 < OkIndex())
        MoveFocus(1);
    else if (LumIsEnter(key))
        return m_nFocus == OkIndex() + 1 ? Cancel : TryOk();
    else if (key.m_eKind == SLumCursesKey::Mouse)
        return OnMouse(key);
    else if (LumIsRepaint(key))
        m_terminal.Repaint();
    else if (key.IsChar('\t') || key.IsKey(KEY_DOWN))
        MoveFocus(1);
    else if (key.IsKey(KEY_BTAB) || key.IsKey(KEY_UP))
        MoveFocus(-1);
    else if (m_nFocus < OkIndex())
        m_aEdits[static_cast<size_t>(m_nFocus)].OnKey(key);
    else
        return OnButtonKey(key);
    return Open;
}

CLumCursesForm::EResult CLumCursesForm::OnButtonKey(const SLumCursesKey& key)
{
    if (key.IsChar(' '))
        return m_nFocus == OkIndex() ? TryOk() : Cancel;
    if (key.IsKey(KEY_LEFT) || key.IsKey(KEY_RIGHT))
        m_nFocus = m_nFocus == OkIndex() ? OkIndex() + 1 : OkIndex();
    return Open;
}

CLumCursesForm::EResult CLumCursesForm::OnMouse(const SLumCursesKey& key)
{
    if (!key.m_fClick && !key.m_fDoubleClick)
        return Open;
    int nButton = LumButtonAt(m_aButtons, key.m_nY, key.m_nX);
    if (nButton >= 0)
        return nButton == 0 ? TryOk() : Cancel;
    for (size_t i = 0; i < m_aBoxes.size(); ++i)
        if (m_aBoxes[i].Contains(key.m_nY, key.m_nX))
        {
            m_nFocus = static_cast<int>(i);
            m_aEdits[i].ClickAt(key.m_nX - m_aBoxes[i].m_nX);
        }
    return Open;
}

void CLumCursesForm::MoveFocus(int nStep)
{
    int nCount = OkIndex() + 2;
    m_nFocus = (m_nFocus + nStep + nCount) % nCount;
}

CLumCursesForm::EResult CLumCursesForm::TryOk()
{
    SLumDebugForm filled = m_form;
    for (size_t i = 0; i < m_aEdits.size(); ++i)
        filled.m_aFields[i].m_strValue = m_aEdits[i].GetText();
    int nRefused = filled.FirstRefused();
    if (nRefused < 0)
        return Ok;
    m_strRefusal = LumDecodeUtf8(filled.m_aFields[static_cast<size_t>(nRefused)].m_strRefusal);
    m_nFocus = nRefused;
    return Open;
}
