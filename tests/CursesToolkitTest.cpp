// The parts of the terminal toolkit that need no terminal: UTF-8 and column widths,
// tab stops as the debug window sets them, wrapping, and the layout at any size.
#include "LumCursesLayout.h"
#include "LumCursesText.h"
#include "LumCursesToolkit.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>

namespace
{
// Widths need a UTF-8 locale; the one before comes back after each test.
class CursesText : public ::testing::Test
{
protected:
    void SetUp() override
    {
        m_strOld = setlocale(LC_CTYPE, nullptr);
        if (setlocale(LC_CTYPE, "C.UTF-8") == nullptr)
            GTEST_SKIP() << "no C.UTF-8 locale";
    }
    void TearDown() override { setlocale(LC_CTYPE, m_strOld.c_str()); }

private:
    std::string m_strOld;
};

std::string Expand(const std::string& str, const std::vector<int>& aStops)
{
    return LumEncodeUtf8(LumExpandTabs(LumDecodeUtf8(str), CLumTabStops(aStops)));
}

std::vector<int> CoverageStops()
{
    std::vector<int> aStops;
    for (int i = 0; i < 40; ++i)
        aStops.push_back(32 + 16 * i);
    return aStops;
}
} // namespace

TEST_F(CursesText, RowsOfTheSourceListMeetTheirStops)
{
    EXPECT_EQ(Expand(" \tx = 1", {16}), "    x = 1");
    EXPECT_EQ(Expand("\t>x = 1", {16}), "    >x = 1");
    EXPECT_EQ(Expand(" \tIF\tTHEN", {16}), "    IF  THEN");
    EXPECT_EQ(Expand("00003>\tx", CoverageStops()), "00003>  x");
    EXPECT_EQ(Expand("00003>\t\tx", CoverageStops()), "00003>      x");
    // Past the last of 40 stops (column 164) they go on 4 apart, and without stops 8 apart.
    EXPECT_EQ(CLumTabStops(CoverageStops()).Next(165), 168);
    EXPECT_EQ(CLumTabStops().Next(0), 8);
    EXPECT_EQ(CLumTabStops().Next(8), 16);
    EXPECT_EQ(Expand("Größe\tx", {}), "Größe   x");
}

TEST_F(CursesText, WidthsCountColumnsNotBytes)
{
    CLumCursesToolkit toolkit;
    EXPECT_EQ(toolkit.MeasureText("Größe = 1,5 €"), 13);
    EXPECT_EQ(toolkit.MeasureText("漢字"), 4);
    // A tab in a measure reaches at least as far as in the list: column 8 here.
    EXPECT_EQ(toolkit.MeasureText("00003>\tx"), 9);
    EXPECT_EQ(LumTextWidth(LumDecodeUtf8("a\001b")), 3);
}

TEST_F(CursesText, BytesThatAreNoUtf8BecomeReplacementCharacters)
{
    const wchar_t R = 0xFFFD;
    EXPECT_EQ(LumDecodeUtf8("a\377b"), (std::wstring{L'a', R, L'b'}));
    EXPECT_EQ(LumDecodeUtf8("\xc0\xaf"), (std::wstring{R, R}));        // no lead byte
    EXPECT_EQ(LumDecodeUtf8("\xe0\x80\xaf"), (std::wstring{R, R, R})); // overlong
    EXPECT_EQ(LumDecodeUtf8("\xed\xa0\x80"), (std::wstring{R, R, R})); // a surrogate
    EXPECT_EQ(LumDecodeUtf8("\xe2\x82"), (std::wstring{R, R}));        // cut short
    std::string strText = "Größe = 1,5 € 漢字 \xf0\x9f\x98\x80";
    EXPECT_EQ(LumEncodeUtf8(LumDecodeUtf8(strText)), strText);
}

TEST_F(CursesText, WrappingKeepsWordsAndLineEndsAndFitsTheWidth)
{
    std::vector<std::wstring> aLines = LumWrapText(L"Den Debugger ausschalten?\nJa oder nein", 12);
    std::vector<std::wstring> aExpected = {L"Den Debugger", L"ausschalten?", L"Ja oder nein"};
    EXPECT_EQ(aLines, aExpected);
    aLines = LumWrapText(L"Überdeckungsexport", 5);
    aExpected = {L"Überd", L"eckun", L"gsexp", L"ort"};
    EXPECT_EQ(aLines, aExpected);
    EXPECT_EQ(LumWrapText(L"", 10), std::vector<std::wstring>{L""});
}

// Whatever the size, every control lies on the screen and none covers another.
TEST(CursesLayout, ControlsStayOnTheScreenAndApart)
{
    for (int nLines = 1; nLines <= 50; ++nLines)
        for (int nColumns = 1; nColumns <= 130; ++nColumns)
        {
            SLumCursesLayout layout = LumLayoutWindow(nLines, nColumns);
            for (size_t i = 0; i < layout.m_aControls.size(); ++i)
            {
                const SLumRect& rc = layout.m_aControls[i];
                if (rc.IsEmpty())
                    continue;
                ASSERT_TRUE(rc.m_nY >= 1 && rc.m_nX >= 0 && rc.m_nY + rc.m_nHeight <= nLines &&
                            rc.m_nX + rc.m_nWidth <= nColumns)
                    << nLines << "x" << nColumns << " control " << i;
                for (size_t k = i + 1; k < layout.m_aControls.size(); ++k)
                {
                    const SLumRect& rcOther = layout.m_aControls[k];
                    bool fApart = rcOther.IsEmpty() || rc.m_nY + rc.m_nHeight <= rcOther.m_nY ||
                                  rcOther.m_nY + rcOther.m_nHeight <= rc.m_nY ||
                                  rc.m_nX + rc.m_nWidth <= rcOther.m_nX ||
                                  rcOther.m_nX + rcOther.m_nWidth <= rc.m_nX;
                    ASSERT_TRUE(fApart) << nLines << "x" << nColumns << " controls " << i << " and " << k;
                }
            }
        }
}

TEST(CursesLayout, AnOrdinaryTerminalShowsEveryControl)
{
    for (auto size : {std::make_pair(24, 80), std::make_pair(30, 100)})
    {
        SLumCursesLayout layout = LumLayoutWindow(size.first, size.second);
        for (const SLumRect& rc : layout.m_aControls)
            EXPECT_FALSE(rc.IsEmpty()) << size.first << "x" << size.second;
        EXPECT_GE(layout.m_aControls[0].m_nHeight, 8);
    }
}

// The mark (the line that runs next) and the current row each stay on their own row
// when a row is inserted or deleted, as at every counted line with the column shown.
TEST(CursesList, MarkAndCurrentRowStayOnTheirRows)
{
    struct Case
    {
        bool m_fInsert;
        int m_nIndex;
        int m_nSel, m_nCurSel;
    };
    const Case aCases[] = {
        {true, 0, 2, 3},  {true, 1, 2, 3},   {true, 2, 1, 3},   {true, 3, 1, 2},  {true, -1, 1, 2},
        {false, 0, 0, 1}, {false, 1, -1, 1}, {false, 2, 1, -1}, {false, 3, 1, 2}, {false, 4, 1, 2},
    };
    for (const Case& c : aCases)
    {
        CLumDebugList list;
        for (const char* pszRow : {"a", "b", "c", "d"})
            list.AddString(pszRow);
        list.SetSel(1);
        list.SetCurSel(2);
        if (c.m_fInsert)
            list.InsertString(c.m_nIndex, "new");
        else
            list.DeleteString(c.m_nIndex);
        EXPECT_EQ(list.GetSel(), c.m_nSel) << c.m_fInsert << " at " << c.m_nIndex;
        EXPECT_EQ(list.GetCurSel(), c.m_nCurSel) << c.m_fInsert << " at " << c.m_nIndex;
        EXPECT_EQ(list.GetText(list.GetSel()), c.m_nSel < 0 ? "" : "b");
        EXPECT_EQ(list.GetText(list.GetCurSel()), c.m_nCurSel < 0 ? "" : "c");
    }
}

TEST(CursesToolkit, WithoutAWindowNothingWaits)
{
    CLumCursesToolkit toolkit;
    EXPECT_EQ(toolkit.RunModalLoop(), LUM_IDC_CANCEL);
    SLumDebugForm form{20103, "Variable anzeigen", {{LUM_IDC_WATCHNAME, "Variable", "a"}}};
    EXPECT_FALSE(toolkit.DoModal(form));
    EXPECT_EQ(form.m_aFields[0].m_strValue, "a");
    toolkit.UpdateWindow();
    EXPECT_FALSE(toolkit.HasWindow());
}
