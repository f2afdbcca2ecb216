// Typed argument reading, seen through the statements that read arguments, and the
// image cursor's own failures.
#include "tests/LumTestSupport.h"

using namespace lumtest;

TEST(Argument, CallExNeedsAStringName)
{
    struct Case
    {
        const char* m_pszName;
        std::function<void(CLumImageWriter&)> m_body;
        const char* m_pszMessage;
    };
    const Case cases[] = {
        {"number for the name", [](CLumImageWriter& w) { w.Expression(CLumTree::LongConst(3)); },
         "Im 1. Parameter wird eine Zeichenkette erwartet. In der Parameterliste steht jedoch ein "
         "numerischer "
         "Ausdruck."},
        {"no name at all", [](CLumImageWriter& w) { w.Separator(); }, "Der 1. Parameter fehlt."},
    };
    for (const Case& c : cases)
    {
        CLumBasic basic;
        std::vector<std::string> trail = RunImage(basic, MainProgram([&](CLumImageWriter& w) {
                                                      w.Token(LBT_CALLEX);
                                                      c.m_body(w);
                                                  }));
        std::vector<std::string> head = {c.m_pszMessage, "LUMBASIC", "CLumBasic::GetArg()", "LUMBASICCALL",
                                         "CLumBasic::CallEx()"};
        ASSERT_GE(trail.size(), head.size()) << c.m_pszName;
        EXPECT_EQ(std::vector<std::string>(trail.begin(), trail.begin() + 5), head) << c.m_pszName;
    }
}

TEST(ImageCursor, SeekAndMemoryModeFollowTheirRules)
{
    std::vector<uint8_t> image = {0x34, 0x12, 0x78, 0x56, 0x00, 0x00};
    CLumBasicFile file(image.data(), image.size());
    EXPECT_EQ(file.Seek(5, 2), 0); // an image from memory has no file length: no move
    EXPECT_EQ(file.GetToken(), 0x1234);
    EXPECT_EQ(file.Seek(1, 7), 2);
    file.SetMemoryMode(image.data() + 4);
    for (int i = 0; i < 150; ++i) // more than the initial 100 saved positions
        file.SetMemoryMode(image.data());
    for (int i = 0; i < 150; ++i)
        file.SetMemoryMode(nullptr);
    EXPECT_EQ(file.PeekToken(), 0);
    file.SetMemoryMode(nullptr);
    EXPECT_EQ(file.GetToken(), 0x5678);
    try
    {
        file.SetMemoryMode(nullptr);
        FAIL() << "no failure";
    }
    catch (const CLumsException& e)
    {
        EXPECT_EQ(e.GetTrail(),
                  (std::vector<std::string>{"Der Stapel für zwischengespeicherte Datenpositionen ist leer.",
                                            "LUMBASICFILE", "CLumBasicFile::SetMemoryMode()"}));
    }
    EXPECT_THROW(file.GetDWord(), CLumsException); // only two bytes are left
}

TEST(ImageCursor, NullImageIsRefused)
{
    try
    {
        CLumBasicFile file(static_cast<const unsigned char*>(nullptr));
        FAIL() << "no failure";
    }
    catch (const CLumsException& e)
    {
        ASSERT_EQ(e.GetTrail().size(), 3u);
        EXPECT_EQ(e.GetTrail()[0].rfind("Die Adresse ", 0), 0u);
        EXPECT_EQ(e.GetTrail()[2], "CLumBasicFile::CLumBasicFile( pData )");
    }
}
