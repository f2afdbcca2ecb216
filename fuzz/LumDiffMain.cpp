// lumdiff: generated programs, one seed after the other, each run the fast way and the
// plain way. Every disagreement is written to lumdiff-SEED.txt in the working folder.
//   lumdiff [--from SEED] [--count N] [--minutes M]
//   lumdiff --print SEED      the program of SEED and how it ends the fast way
#include "LumDifferential.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <unistd.h>

namespace
{
int Usage()
{
    fprintf(stderr, "usage: lumdiff [--from SEED] [--count N] [--minutes M] | --print SEED\n");
    return 2;
}
} // namespace

int main(int argc, char** argv)
{
    unsigned long long nFrom = 1, nCount = ~0ull;
    double dMinutes = 1e9;
    for (int i = 1; i < argc; i += 2)
    {
        // Every option takes a value; anything else, a lone word too, is no run.
        if (i + 1 >= argc)
            return Usage();
        if (strcmp(argv[i], "--from") == 0)
            nFrom = strtoull(argv[i + 1], nullptr, 10);
        else if (strcmp(argv[i], "--count") == 0)
            nCount = strtoull(argv[i + 1], nullptr, 10);
        else if (strcmp(argv[i], "--minutes") == 0)
            dMinutes = atof(argv[i + 1]);
        else if (strcmp(argv[i], "--print") == 0)
        {
            lumfuzz::CLumDifferential differential;
            std::vector<uint8_t> aChoices = lumfuzz::LumSeededChoices(strtoull(argv[i + 1], nullptr, 10));
            lumfuzz::CLumChoices choices(aChoices.data(), aChoices.size());
            fputs(differential.Describe(lumfuzz::LumGenerateProgram(choices, differential.GetLibraryImage()))
                      .c_str(),
                  stdout);
            return 0;
        }
        else
            return Usage();
    }
    lumfuzz::CLumDifferential differential;
    auto start = std::chrono::steady_clock::now();
    unsigned long nFound = 0;
    bool fTerminal = isatty(fileno(stderr));
    for (unsigned long long n = 0; n < nCount; ++n)
    {
        double dElapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
        if (dElapsed > dMinutes * 60)
            break;
        unsigned long long nSeed = nFrom + n;
        std::vector<uint8_t> aChoices = lumfuzz::LumSeededChoices(nSeed);
        lumfuzz::CLumChoices choices(aChoices.data(), aChoices.size());
        std::string strDiff =
            differential.Compare(lumfuzz::LumGenerateProgram(choices, differential.GetLibraryImage()));
        if (!strDiff.empty())
        {
            ++nFound;
            std::string strName = "lumdiff-" + std::to_string(nSeed) + ".txt";
            if (FILE* pFile = fopen(strName.c_str(), "w"))
            {
                fputs(strDiff.c_str(), pFile);
                fclose(pFile);
            }
            fprintf(stderr, "%sseed %llu: the ways disagree, see %s\n", fTerminal ? "\r\033[K" : "", nSeed,
                    strName.c_str());
        }
        if (fTerminal && n % 20 == 0)
            fprintf(stderr,
                    "\r\033[Kseed %llu: %lu programs, %llu statements, %lu failed runs, %lu disagreements",
                    nSeed, differential.GetPrograms(), differential.GetStatements(),
                    differential.GetFailures(), nFound);
    }
    fprintf(
        stderr,
        "%s%lu programs, %llu statements, %lu failed runs, %lu over the memory budget, %lu disagreements\n",
        fTerminal ? "\r\033[K" : "", differential.GetPrograms(), differential.GetStatements(),
        differential.GetFailures(), differential.GetOverMemory(), nFound);
    return nFound == 0 ? 0 : 1;
}
