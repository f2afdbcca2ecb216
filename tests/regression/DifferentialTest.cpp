// Generated programs, the same few hundred on every machine, run the fast way and the
// plain way: they must agree in everything a host can observe. fuzz/LumDifferential.h
// says what is compared; `lumdiff` runs the same comparison over any number of seeds.
#include "LumDifferential.h"

#include <gtest/gtest.h>

TEST(Differential, FixedSeedsRunAlikeBothWays)
{
    lumfuzz::CLumDifferential differential;
    const unsigned long nPrograms = LUM_SANITIZED ? 60 : 400;
    for (unsigned long nSeed = 1; nSeed <= nPrograms; ++nSeed)
    {
        std::vector<uint8_t> aChoices = lumfuzz::LumSeededChoices(nSeed);
        lumfuzz::CLumChoices choices(aChoices.data(), aChoices.size());
        EXPECT_EQ(differential.Compare(lumfuzz::LumGenerateProgram(choices, differential.GetLibraryImage())),
                  "")
            << "seed " << nSeed;
    }
    // The programs do reach their statements and their failures.
    EXPECT_GT(differential.GetStatements(), nPrograms * 50);
    EXPECT_GT(differential.GetFailures(), nPrograms / 20);
    EXPECT_LT(differential.GetFailures(), nPrograms / 2);
}
