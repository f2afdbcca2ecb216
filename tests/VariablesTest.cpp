// The variable store: keys, null values, ownership and the text form.
#include <lumbasic/LumVariables.h>
#include <lumbasic/LumsException.h>

#include <gtest/gtest.h>

namespace
{
std::string Text(const CLumVariables& vars)
{
    std::string str;
    vars.MakeString(&str);
    return str;
}
} // namespace

TEST(Variables, TextFormRoundTripsEveryType)
{
    CLumVariables vars;
    const char* pszText = "S:name$=a=b c\r\nL:n%=-12\nD:x=1.500000\nS:@P@s$=\nL:a%:3:2=7\n";
    vars.SetValuesFromString(pszText);
    EXPECT_EQ(Text(vars), pszText);
    EXPECT_EQ(vars.GetValue("name$", nullptr)->GetText(), std::string("a=b c\r"));
    long aIndices[6] = {3, 2};
    EXPECT_EQ(vars.GetValue("a%", aIndices)->GetLong(), 7);
    EXPECT_EQ(Text(CLumVariables()), "");
}

TEST(Variables, TypeComesFromTheLineNotTheName)
{
    CLumVariables vars;
    vars.SetValuesFromString("L:total=3\nD:count%=2.75\nX:odd=1\n");
    EXPECT_EQ(vars.GetValue("total", nullptr)->GetType(), CLumsVarValue::VT_LONG);
    EXPECT_EQ(vars.GetValue("count%", nullptr)->GetType(), CLumsVarValue::VT_DOUBLE);
    // An unknown type letter stores an empty value, which the text form leaves out.
    EXPECT_EQ(vars.GetValue("odd", nullptr)->GetType(), CLumsVarValue::VT_EMPTY);
    EXPECT_EQ(Text(vars), "L:total=3\nD:count%=2.750000\n");
}

TEST(Variables, BadTextKeepsEarlierLinesAndFailsWithTheFrame)
{
    struct Case
    {
        const char* m_pszText;
        const char* m_pszKept;
    };
    const Case cases[] = {
        {"L:a%=1\nL:b%=2", "L:a%=1\n"},         // last line without newline
        {"L:a%=1\nnothing here\n", "L:a%=1\n"}, // line without "="
    };
    for (const Case& c : cases)
    {
        CLumVariables vars;
        try
        {
            vars.SetValuesFromString(c.m_pszText);
            ADD_FAILURE() << "no failure for " << c.m_pszText;
        }
        catch (const CLumsException& e)
        {
            std::vector<std::string> expected = {"In der Funktion ist ein unerwarteter Fehler aufgetreten.",
                                                 "LUMEXPRESSION", "CLumVariables::SetValuesFromString()"};
            EXPECT_EQ(e.GetTrail(), expected);
        }
        EXPECT_EQ(Text(vars), c.m_pszKept);
    }
}

TEST(Variables, UndefinedNamesGiveTypedNullValuesWithoutEntries)
{
    CLumVariables vars;
    EXPECT_EQ(vars.GetValue("s$", nullptr)->GetType(), CLumsVarValue::VT_STRING);
    EXPECT_EQ(vars.GetValue("n%", nullptr)->GetType(), CLumsVarValue::VT_LONG);
    EXPECT_EQ(vars.GetValue("x", nullptr)->GetType(), CLumsVarValue::VT_DOUBLE);
    long aIndices[6] = {4};
    // The type character is that of the base name, not of the composed key.
    EXPECT_EQ(vars.GetValue("s$", aIndices)->GetType(), CLumsVarValue::VT_STRING);
    EXPECT_EQ(vars.GetValue("s$:4", nullptr)->GetType(), CLumsVarValue::VT_DOUBLE);
    EXPECT_EQ(vars.GetCount(), 0u);
}

TEST(Variables, IndexListEndsAtZeroOrAfterSix)
{
    CLumVariables vars;
    vars.SetValue("a:3", new CLumsVarValue(1L));
    vars.SetValue("a", new CLumsVarValue(2L));
    vars.SetValue("b:1:2:3:4:5:6", new CLumsVarValue(3L));
    long aZeroInside[6] = {3, 0, 5};
    long aZeroFirst[6] = {0, 7};
    long aSeven[7] = {1, 2, 3, 4, 5, 6, 7};
    long aNegative[6] = {-2};
    EXPECT_EQ(vars.GetValue("a", aZeroInside)->GetLong(), 1);
    EXPECT_EQ(vars.GetValue("a", aZeroFirst)->GetLong(), 2);
    EXPECT_EQ(vars.GetValue("b", aSeven)->GetLong(), 3);
    EXPECT_EQ(vars.IsDefined("a", aNegative), 0);
    vars.SetValue("a:-2", new CLumsVarValue(4L));
    EXPECT_EQ(vars.IsDefined("a", aNegative), 1);
}

TEST(Variables, ReadsCutKeysAt255CharactersAndDropIndicesThatDoNotFit)
{
    CLumVariables vars;
    const std::string str249(249, 'n'), str250(250, 'n'), str255(255, 'n'), str256(256, 'n');
    vars.SetValue(str255.c_str(), new CLumsVarValue(1L));
    vars.SetValue(str256.c_str(), new CLumsVarValue(2L)); // stored as it stands, never read
    vars.SetValue((str249 + ":12345").c_str(), new CLumsVarValue(3L));
    vars.SetValue(str250.c_str(), new CLumsVarValue(4L));
    long aIndex[6] = {12345};
    EXPECT_EQ(vars.GetValue(str256.c_str(), nullptr)->GetLong(), 1);
    EXPECT_EQ(vars.GetValue(str249.c_str(), aIndex)->GetLong(), 3);
    EXPECT_EQ(vars.GetValue(str250.c_str(), aIndex)->GetLong(), 4);
}

TEST(Variables, SetValueOwnsAndReplaces)
{
    CLumVariables vars;
    vars.SetValue("x%", new CLumsVarValue(1L)); // taken over and freed (checked by the sanitizer build)
    CLumsVarValue* pStored = vars.GetValue("x%", nullptr);
    vars.SetValue("x%", pStored); // the stored pointer stays valid
    *pStored = 5L;
    EXPECT_EQ(vars.GetValue("x%", nullptr)->GetLong(), 5);
    vars.SetValue("x%", new CLumsVarValue(6L)); // the variable keeps its object
    EXPECT_EQ(vars.GetValue("x%", nullptr), pStored);
    EXPECT_EQ(pStored->GetLong(), 6);
    CLumsVarValue dimension(10L);
    vars.SetDimension("a%", &dimension);
    EXPECT_EQ(vars.GetCount(), 1u);
}

TEST(Variables, AssignmentMergesDeepCopies)
{
    CLumVariables target, source;
    target.SetValuesFromString("L:keep%=1\nL:both%=2\n");
    source.SetValuesFromString("L:both%=20\nS:new$=n\n");
    target = source;
    source.SetValuesFromString("L:both%=99\n");
    EXPECT_EQ(target.GetValue("keep%", nullptr)->GetLong(), 1);
    EXPECT_EQ(target.GetValue("both%", nullptr)->GetLong(), 20);
    EXPECT_STREQ(target.GetValue("new$", nullptr)->GetText(), "n");
    target = target;
    EXPECT_EQ(target.GetCount(), 3u);
    CLumVariables copy(target);
    EXPECT_EQ(Text(copy), Text(target));
}

TEST(Variables, ManyElementsStayReachable)
{
    CLumVariables vars;
    for (long i = 1; i <= 20000; ++i)
    {
        long aIndices[6] = {i};
        char key[CLumVariables::MAX_KEY + 1];
        CLumVariables::MakeName(key, "a%", aIndices);
        vars.SetValue(key, new CLumsVarValue(i * 2));
    }
    for (long i = 1; i <= 20000; i += 997)
    {
        long aIndices[6] = {i};
        EXPECT_EQ(vars.GetValue("a%", aIndices)->GetLong(), i * 2);
    }
}

// A host may store null under a key: the key stays, with no value, until a store into
// it. A plain variable and an element hold their values in different places.
TEST(Variables, NullStoredLeavesAKeyWithoutValue)
{
    for (const char* pszKey : {"w", "a:3"})
    {
        CLumVariables vars;
        vars.SetValue(pszKey, new CLumsVarValue(2L));
        uint64_t nGeneration = vars.GetGeneration();
        vars.SetValue(pszKey, nullptr);
        EXPECT_NE(vars.GetGeneration(), nGeneration) << pszKey;
        EXPECT_EQ(vars.Find(pszKey, nullptr), nullptr) << pszKey;
        EXPECT_EQ(vars.IsDefined(pszKey, nullptr), 0) << pszKey;
        EXPECT_EQ(vars.GetValue(pszKey, nullptr), CLumVariables::GetNullValue(pszKey)) << pszKey;
        EXPECT_TRUE(vars.Contains(pszKey)) << pszKey;
        EXPECT_EQ(Text(vars), "") << pszKey;
        EXPECT_EQ((*vars.GetMap().begin()).m_value, nullptr) << pszKey;
        vars.SetValue(pszKey, new CLumsVarValue(7L));
        EXPECT_EQ(vars.Find(pszKey, nullptr)->GetLong(), 7) << pszKey;
        EXPECT_EQ(vars.GetCount(), 1u) << pszKey;
    }
}

// The memory budget counts a stored value as it counts a value of its own: a store
// filled, changed and emptied leaves the count where it found it.
TEST(Variables, StoredValuesCountTowardsTheBudgetUntilFreed)
{
    int64_t nBefore = LumValueBytes();
    {
        CLumVariables vars;
        for (long i = 1; i <= 1000; ++i)
        {
            long aIndices[6] = {i};
            vars.SetValue(i % 2 ? "x" : "y$", new CLumsVarValue(static_cast<double>(i)));
            CLumElementCache cache;
            *vars.ObtainElement("a", aIndices, cache) = "text";
        }
        EXPECT_GE(LumValueBytes() - nBefore, 1002 * static_cast<int64_t>(sizeof(CLumsVarValue)));
        vars.SetValue("x", nullptr);
        vars.Obtain("x");
        vars.Clear();
        EXPECT_EQ(LumValueBytes(), nBefore);
        vars.SetValue("z", new CLumsVarValue("kept to the end"));
    }
    EXPECT_EQ(LumValueBytes(), nBefore);
}

TEST(RuntimeClass, NamesAndCheckedDownCasts)
{
    CLumVariables vars;
    CLumsVarValue value(1L);
    CLumObject* pObject = &value;
    EXPECT_STREQ(pObject->GetRuntimeClass()->m_lpszClassName, "CLumsVarValue");
    EXPECT_TRUE(pObject->IsKindOf(LUM_RUNTIME_CLASS(CLumObject)));
    EXPECT_EQ(LumDownCast<CLumsVarValue>(pObject), &value);
    EXPECT_EQ(LumDownCast<CLumVariables>(pObject), nullptr);
    EXPECT_EQ(LumDownCast<CLumVariables>(static_cast<CLumObject*>(&vars)), &vars);
    EXPECT_EQ(LUM_RUNTIME_CLASS(CLumVariables)->CreateObject(), nullptr); // no factory: not made by name
}
