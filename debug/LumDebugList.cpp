#include <lumbasic/LumDebugToolkit.h>

#include "debug/LumDebugForms.h"

#include <algorithm>
#include <cctype>

namespace
{
// Sorted lists order rows as people read names: case aside.
bool LessNoCase(const std::string& a, const std::string& b)
{
    return std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) {
        return tolower(static_cast<unsigned char>(x)) < tolower(static_cast<unsigned char>(y));
    });
}
} // namespace

void CLumDebugList::ResetContent()
{
    m_aRows.clear();
    m_nCurSel = -1;
    m_nSel = -1;
    m_nTop = 0;
}

int CLumDebugList::AddString(const std::string& str)
{
    auto it = m_fSorted ? std::upper_bound(m_aRows.begin(), m_aRows.end(), str, LessNoCase) : m_aRows.end();
    int nIndex = static_cast<int>(it - m_aRows.begin());
    InsertString(nIndex, str);
    return nIndex;
}

void CLumDebugList::InsertString(int nIndex, const std::string& str)
{
    if (nIndex < 0 || nIndex > GetCount())
        nIndex = GetCount();
    m_aRows.insert(m_aRows.begin() + nIndex, str);
    // The marks stay on their rows.
    if (m_nCurSel >= nIndex)
        ++m_nCurSel;
    if (m_nSel >= nIndex)
        ++m_nSel;
}

void CLumDebugList::DeleteString(int nIndex)
{
    if (!IsRow(nIndex))
        return;
    m_aRows.erase(m_aRows.begin() + nIndex);
    if (m_nCurSel == nIndex)
        m_nCurSel = -1;
    else if (m_nCurSel > nIndex)
        --m_nCurSel;
    if (m_nSel == nIndex)
        m_nSel = -1;
    else if (m_nSel > nIndex)
        --m_nSel;
}

std::string CLumDebugList::GetText(int nIndex) const
{
    return IsRow(nIndex) ? m_aRows[static_cast<size_t>(nIndex)] : std::string();
}

CLumDebugList& CLumDebugToolkit::GetList(int nId)
{
    return nId == LUM_IDC_VARIABLES ? m_lbVariables : nId == LUM_IDC_WATCHES ? m_lbWatches : m_lbSource;
}

// The three check boxes of the coverage group, by id; no other control has a state.
int CLumDebugToolkit::IsDlgButtonChecked(int nId) const
{
    int nIndex = nId - LUM_IDC_PROFILE;
    return nIndex >= 0 && nIndex < 3 ? m_aChecks[nIndex] : 0;
}

void CLumDebugToolkit::CheckDlgButton(int nId, int fCheck)
{
    int nIndex = nId - LUM_IDC_PROFILE;
    if (nIndex >= 0 && nIndex < 3)
        m_aChecks[nIndex] = fCheck ? 1 : 0;
}

int SLumDebugForm::FirstRefused() const
{
    for (size_t i = 0; i < m_aFields.size(); ++i)
        if (!m_aFields[i].m_strRefusal.empty() &&
            m_aFields[i].m_strValue.find_first_not_of(" \t") == std::string::npos)
            return static_cast<int>(i);
    return -1;
}

bool LumAskForm(CLumDebugToolkit& toolkit, SLumDebugForm& form)
{
    return toolkit.DoModal(form) && form.FirstRefused() < 0;
}

std::string LumNameOfField(const SLumDebugForm::Field& field)
{
    size_t nFirst = field.m_strValue.find_first_not_of(" \t");
    if (nFirst == std::string::npos)
        return std::string();
    return field.m_strValue.substr(nFirst, field.m_strValue.find_last_not_of(" \t") + 1 - nFirst);
}
