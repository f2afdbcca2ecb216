// The interpreter's stacks: order, failures when empty, clean-up of what is left.
#include <lumbasic/LumBasicStack.h>

#include <gtest/gtest.h>

TEST(Stack, PopsInReverseOrderPastTheBlockSize)
{
    CLumParamStack stack;
    for (long i = 0; i < 25; ++i)
        stack.Push(new CLumsVarValue(i));
    EXPECT_EQ(stack.Top()->GetLong(), 24);
    EXPECT_EQ(stack.GetCount(), 25);
    for (long i = 24; i >= 20; --i)
    {
        CLumsVarValue* p = stack.Pop();
        EXPECT_EQ(p->GetLong(), i);
        delete p;
    }
    // The 20 values left are freed by the destructor (checked by the sanitizer build).
}

TEST(Stack, EmptyStacksFailAndStayEmpty)
{
    CLumCmdStack cmd;
    CLumCallStack call;
    CLumParamStack param;
    CLumFunctionStack function;
    EXPECT_THROW(cmd.Pop(), CLumStackEmpty);
    EXPECT_THROW(call.Pop(), CLumStackEmpty);
    EXPECT_THROW(param.Pop(), CLumStackEmpty);
    EXPECT_THROW(function.Pop(), CLumStackEmpty);
    EXPECT_THROW(function.Top(), CLumStackEmpty);
    EXPECT_TRUE(cmd.IsEmpty() && call.IsEmpty() && param.IsEmpty() && function.IsEmpty());
}

TEST(Stack, FunctionStackCopiesNamesAndRecordsOwnTheirValues)
{
    CLumFunctionStack function;
    {
        std::string strName = "Main";
        function.Push(strName.c_str());
    }
    function.Push("Inner");
    EXPECT_STREQ(function.Top(), "Inner");
    EXPECT_EQ(function.GetCount(), 2);
    EXPECT_EQ(function.Pop(), "Inner");
    EXPECT_STREQ(function.Top(), "Main");

    CLumCmdStack cmd;
    CmdData* pFor = new CmdData();
    pFor->m_nKind = 1;
    pFor->m_pEndValue = new CLumsVarValue(10L);
    pFor->m_pStepValue = new CLumsVarValue(1L);
    cmd.Push(pFor);
    CLumCallStack call;
    CallData* pCall = new CallData();
    pCall->m_pResult = new CLumsVarValue("r");
    call.Push(pCall);
    // Both records and their values go with the stacks.
}
