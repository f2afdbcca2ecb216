// The image writer's bytes pinned against the format's worked examples.
#include "tools/imagewriter/LumImageWriter.h"

#include <gtest/gtest.h>

TEST(ImageWriter, SumOfVariableAndLongMatchesTheFormat)
{
    CLumImageWriter w;
    w.Expression(CLumTree::Operator(LBT_PLUS, CLumTree::Variable("a%"), CLumTree::LongConst(1)));
    std::vector<uint8_t> expected = {0x82, 0xFF, 0x7A, 0x02, 0x02, 0x00, 0x82, 0x09, 0x7A,
                                     0x04, 0x03, 0x00, 0x61, 0x25, 0x00, 0x7A, 0x03, 0x06,
                                     0x00, 0x00, 0x02, 0x01, 0x00, 0x00, 0x00};
    EXPECT_EQ(w.Finish(), expected);
}

TEST(ImageWriter, AssignmentOfLongToNameMatchesTheFormat)
{
    CLumImageWriter w;
    w.Token(LBT_ASSIGN);
    w.Token(LBT_NAME);
    w.CountedText("x%");
    w.Expression(CLumTree::LongConst(1));
    std::vector<uint8_t> expected = {0x83, 0x01, 0x82, 0xFE, 0x03, 0x00, 0x78, 0x25, 0x00, 0x82, 0xFF,
                                     0x7A, 0x03, 0x06, 0x00, 0x00, 0x02, 0x01, 0x00, 0x00, 0x00};
    EXPECT_EQ(w.Finish(), expected);
}

TEST(ImageWriter, SkipsAndOffsetsAreResolvedFromLabels)
{
    CLumImageWriter w;
    CLumImageWriter::Label head = w.NewLabel();
    CLumImageWriter::Label after = w.NewLabel();
    w.Token(LBT_IF);                      // offset 0
    int nSkip = w.Skip(after);            // field at 2..5
    w.Expression(CLumTree::LongConst(0)); // 6..17
    w.SkipFrom(nSkip);                    // base 18
    w.ProcOffset(head);                   // 18..21
    w.Place(after);                       // 22
    w.Place(head);                        // 22
    std::vector<uint8_t> image = w.Finish();
    ASSERT_EQ(image.size(), 22u);
    EXPECT_EQ(image[2], 4); // 22 - 18
    EXPECT_EQ(image[18], 22);
    CLumImageWriter unplaced;
    unplaced.Skip(unplaced.NewLabel());
    EXPECT_THROW(unplaced.Finish(), std::logic_error);
}
