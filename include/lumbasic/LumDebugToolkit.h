// What the debug window needs of a toolkit, and nothing more: a window with a nested
// modal loop, list controls, check boxes, a text measure and small modal forms. The
// window's logic (CLumBasicDebugDlg) keeps its controls' contents in the models below;
// a toolkit draws them and sends the user's clicks and keys back. The library brings a
// headless toolkit driven by a script (LumScriptToolkit.h); the command line brings a
// terminal one.
#pragma once

#include <lumbasic/LumExport.h>

#include <string>
#include <vector>

// The controls of the debug window and of its two small forms, by the ids their
// commands carry.
enum LumDebugControl : int
{
    LUM_IDC_OK = 1,
    LUM_IDC_CANCEL = 2,
    LUM_IDC_SOURCE = 1001,
    LUM_IDC_STEP = 1003,
    LUM_IDC_STEPINTO = 1004,
    LUM_IDC_NEWVAR = 1005,
    LUM_IDC_CHGVAR = 1006,
    LUM_IDC_RUN = 1007,
    LUM_IDC_VARIABLES = 1008,
    LUM_IDC_WATCHES = 1009,
    LUM_IDC_VALUE = 1012,
    LUM_IDC_NAME = 1013,
    LUM_IDC_WATCHNAME = 1014,
    LUM_IDC_PROFILE = 1015,
    LUM_IDC_PROFILEEXPORT = 1016,
    LUM_IDC_PROFILESAVE = 1017,
    LUM_IDC_COVERAGE = 1018,
    LUM_IDC_OFF = 1019,
};

// What the user did to a control.
enum class ELumDebugNotify
{
    Click,
    DoubleClick,
};

// A list control's content: rows of text, the current row, the selection mark, the
// first visible row, tab stops (in quarters of an average character's width) and the
// width the list can scroll to (in the toolkit's text measure).
class LUM_API CLumDebugList
{
public:
    explicit CLumDebugList(bool fSorted = false) : m_fSorted(fSorted) {}

    void ResetContent();
    // Appends the row, or puts it in order in a sorted list; gives its index.
    int AddString(const std::string& str);
    void InsertString(int nIndex, const std::string& str);
    void DeleteString(int nIndex);
    // The row's text; empty for an index without a row.
    std::string GetText(int nIndex) const;
    int GetCount() const { return static_cast<int>(m_aRows.size()); }
    bool IsRow(int nIndex) const { return nIndex >= 0 && nIndex < GetCount(); }

    // The current row, -1 for none. Setting an index without a row clears it.
    int GetCurSel() const { return m_nCurSel; }
    void SetCurSel(int nIndex) { m_nCurSel = IsRow(nIndex) ? nIndex : -1; }
    // The row marked as selected, which a toolkit shows highlighted, -1 for none.
    // Marking a row makes it the current row too, as in a single-selection list; the
    // user may then move the current row away while the mark stays.
    int GetSel() const { return m_nSel; }
    void SetSel(int nIndex)
    {
        m_nSel = IsRow(nIndex) ? nIndex : -1;
        m_nCurSel = m_nSel;
    }
    int GetTopIndex() const { return m_nTop; }
    void SetTopIndex(int nIndex) { m_nTop = nIndex < 0 ? 0 : nIndex; }

    const std::vector<int>& GetTabStops() const { return m_aTabStops; }
    void SetTabStops(std::vector<int> aTabStops) { m_aTabStops = std::move(aTabStops); }
    int GetHorizontalExtent() const { return m_nExtent; }
    void SetHorizontalExtent(int nExtent) { m_nExtent = nExtent; }
    bool IsSorted() const { return m_fSorted; }

private:
    std::vector<std::string> m_aRows;
    bool m_fSorted;
    int m_nCurSel = -1;
    int m_nSel = -1;
    int m_nTop = 0;
    std::vector<int> m_aTabStops;
    int m_nExtent = 0;
};

// A small modal form: a title and text boxes, with OK and Cancel. A toolkit keeps the
// form open on OK while a field that must be filled holds nothing but blanks: it
// shows that field's refusal and puts the focus there.
struct LUM_API SLumDebugForm
{
    struct Field
    {
        int m_nId;
        std::string m_strLabel;
        std::string m_strValue;
        // Why OK is refused while the field is blank; empty for a field that may be.
        std::string m_strRefusal = std::string();
    };
    int m_nTemplate;
    std::string m_strTitle;
    std::vector<Field> m_aFields;

    // The index of the first field that refuses OK as the fields stand, -1 for none.
    int FirstRefused() const;
};

// Receives what the user does. The debug window implements it.
class LUM_API CLumDebugCommandTarget
{
public:
    virtual ~CLumDebugCommandTarget() = default;
    virtual void OnCommand(ELumDebugNotify eNotify, int nId) = 0;
    // A character key that no control took.
    virtual void OnChar(unsigned nChar) = 0;
};

class LUM_API CLumDebugToolkit
{
public:
    virtual ~CLumDebugToolkit() = default;

    // The window of `target`, without blocking: it shows the lists and check boxes
    // that the target gives by id, and stays until DestroyWindow.
    virtual void CreateWindow(CLumDebugCommandTarget& target) = 0;
    virtual void DestroyWindow() = 0;
    virtual void SetWindowText(const std::string& strTitle) = 0;
    // The list control of the window: LUM_IDC_SOURCE, LUM_IDC_VARIABLES (sorted) or
    // LUM_IDC_WATCHES. A toolkit has all three for the whole of its life.
    virtual CLumDebugList& GetList(int nId);
    // Check box states, which the toolkit's clicks change before the command arrives.
    virtual int IsDlgButtonChecked(int nId) const;
    virtual void CheckDlgButton(int nId, int fCheck);

    // The nested modal loop: it shows the window, hands the user's input to the
    // target and returns the result of the EndModalLoop that ended it. Enter presses
    // the default button; Escape, the toolkit's cancel, ends the loop with LUM_IDC_CANCEL.
    virtual int RunModalLoop() = 0;
    virtual void EndModalLoop(int nResult) = 0;
    virtual bool IsModalLoopActive() const = 0;
    // Shows what changed while no loop runs.
    virtual void UpdateWindow() = 0;

    // The width of a text in the window's font.
    virtual int MeasureText(const std::string& str) const = 0;
    // A modal form; true for OK, with the fields' values as the user left them. Enter
    // in a field goes on to the next one and is OK in the last, Escape is Cancel. OK
    // never closes the form while FirstRefused() names a field.
    virtual bool DoModal(SLumDebugForm& form) = 0;

protected:
    // What the controls hold, which a toolkit shows.
    CLumDebugList m_lbSource;
    CLumDebugList m_lbVariables{true};
    CLumDebugList m_lbWatches;
    int m_aChecks[3] = {0, 0, 0};
};
