// lumbasic batch as its user meets it: files in, files out, the summary and the status.
#include "LumImageDir.h"

#include <csignal>
#include <regex>
#include <sstream>
#include <thread>
#include <unistd.h>

using lumtest::CImageDir;
using lumtest::RunCli;

namespace
{
// Record qty% 7 divides by zero, qty% 99 loops without end.
const char* const RULE = "Sub Main\n"
                         "    total = price * qty% * 100 / (qty% - 7)\n"
                         "    While qty% = 99\n"
                         "        n% = n% + 1\n"
                         "    Wend\n"
                         "    label$ = name$ + \"!\"\n"
                         "End Sub\n";

void Write(const CImageDir& dir, const std::string& strName, const std::string& strText)
{
    std::ofstream(dir.Path(strName), std::ios::binary) << strText;
}

std::vector<std::string> Lines(const std::string& str)
{
    std::vector<std::string> a;
    std::istringstream in(str);
    for (std::string strLine; std::getline(in, strLine);)
        a.push_back(strLine);
    return a;
}
} // namespace

TEST(Batch, RecordsComeOutInOrderAndFailuresAreKeptApart)
{
    CImageDir dir;
    Write(dir, "rule.lbd", RULE);
    // 3,000 records: every 100th divides by zero, record 500 runs away, record 777 has a
    // quantity that is no Long, and names hold commas and quotes.
    std::string strIn = "id%,price,qty%,name$\n", strExpected = "id%,total,label$\n";
    for (int i = 1; i <= 3000; ++i)
    {
        int nQty = i == 500 ? 99 : i % 100 == 0 ? 7 : i % 5 + 1;
        std::string strName = i % 2 ? "\"a, \"\"b\"\"\"" : "c";
        strIn +=
            std::to_string(i) + ",1.5," + (i == 777 ? "2.5" : std::to_string(nQty)) + "," + strName + "\n";
        if (nQty != 7 && nQty != 99 && i != 777)
        {
            std::ostringstream total;
            total << 150.0 * nQty / (nQty - 7);
            strExpected +=
                std::to_string(i) + "," + total.str() + "," + (i % 2 ? "\"a, \"\"b\"\"!\"" : "c!") + "\n";
        }
    }
    Write(dir, "in.csv", strIn);
    auto o =
        RunCli(dir, "batch --jobs 4 --max-steps 10000 --fields id%,total,label$ --in in.csv --out out.csv "
                    "--errors errors.txt rule.lbd");
    EXPECT_EQ(o.m_nStatus, 1) << o.m_strErr;
    EXPECT_EQ(dir.Read("out.csv"), strExpected);
    EXPECT_EQ(o.m_strErr, "lumbasic: 3000 read, 2969 written, 31 failed\n");
    std::vector<std::string> aErrors = Lines(dir.Read("errors.txt"));
    ASSERT_EQ(aErrors.size(), 31u * 2);
    EXPECT_EQ(aErrors[0], "record 100 (line 101): rule.lbd:2: Division durch Null.");
    EXPECT_EQ(aErrors[1], "  input: 100,1.5,7,c");
    EXPECT_EQ(aErrors[8], "record 500 (line 501): rule.lbd:5: Der Lauf hat die Grenze von 10000 Anweisungen "
                          "erreicht und wurde abgebrochen.");
    EXPECT_EQ(aErrors[14], "record 777 (line 778): qty%: '2.5' is not a whole number from -2147483648 to "
                           "2147483647, which a Long (%) needs");
    // The plain way, a new store and cursor for each record, gives the same files.
    std::string strErrors = dir.Read("errors.txt");
    o = RunCli(dir,
               "batch --plain --jobs 3 --max-steps 10000 --fields id%,total,label$ --in in.csv --out out.csv "
               "--errors errors.txt rule.lbd");
    EXPECT_EQ(dir.Read("out.csv"), strExpected);
    EXPECT_EQ(dir.Read("errors.txt"), strErrors);

    // The same as JSON Lines, in and out, on one thread: the same records.
    std::string strJson;
    for (int i = 1; i <= 3; ++i)
        strJson += "{\"id%\": " + std::to_string(i) + ", \"price\": 1.5, \"qty%\": " + std::to_string(i) +
                   ", \"name$\": \"x\\\"y\"}\n";
    Write(dir, "in.jsonl", strJson + "{\"id%\": 4, \"price\": \"1.5\"}\n");
    o = RunCli(dir, "batch --jobs 1 --fields id%,total --in in.jsonl --out out.jsonl rule.lbd");
    EXPECT_EQ(dir.Read("out.jsonl"), "{\"id%\":1,\"total\":-25}\n{\"id%\":2,\"total\":-60}\n"
                                     "{\"id%\":3,\"total\":-112.5}\n");
    EXPECT_NE(o.m_strErr.find("record 4 (line 4): price: \"1.5\" is not a number"), std::string::npos)
        << o.m_strErr;
}

TEST(Batch, BadInputIsNamedAndNothingIsWritten)
{
    CImageDir dir;
    Write(dir, "rule.lbd", RULE);
    Write(dir, "out.csv", "kept\n");
    const struct
    {
        const char* m_pszName;
        const char* m_pszContent;
        const char* m_pszError;
    } aCases[] = {
        {"empty.csv", "", "lumbasic: empty.csv: error: no header line"},
        {"name.csv", "\nprice,total sum\n", "lumbasic: name.csv:2: error: 'total sum' is no variable name"},
        {"word.csv", "price,If\n", "lumbasic: word.csv:1: error: 'If' is a word of the language"},
        {"quote.csv", "price\n1\n\"2\n", "lumbasic: quote.csv:3: error: a quoted field does not end"},
        {"bad.jsonl", "{\"price\": 1}\n{\"price\": 2,}\n", "lumbasic: bad.jsonl:2: error: no JSON"},
        {"array.jsonl", "{\"price\": 1}\n[1]\n", "lumbasic: array.jsonl:2: error: no JSON object"},
        {"missing.csv", nullptr, "lumbasic: missing.csv: No such file or directory"},
    };
    for (const auto& c : aCases)
    {
        if (c.m_pszContent != nullptr)
            Write(dir, c.m_pszName, c.m_pszContent);
        auto o =
            RunCli(dir, std::string("batch --in ") + c.m_pszName + " --out out.csv --errors e.txt rule.lbd");
        EXPECT_EQ(o.m_nStatus, 1) << c.m_pszName;
        EXPECT_EQ(o.m_strErr.rfind(c.m_pszError, 0), 0u) << o.m_strErr;
        EXPECT_EQ(dir.Read("out.csv"), "kept\n") << c.m_pszName;
    }
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.Dir()), {}), 10)
        << "no file left half written";
}

// Ctrl-C stops the batch taking records; a second run from the record it names
// does the rest, and the two together give every record once.
TEST(Batch, InterruptedBatchResumesWithSkip)
{
    CImageDir dir;
    Write(dir, "slow.lbd", "Sub Main\n    For i% = 1 To 300\n        s = s + i% * x\n    Next i%\nEnd Sub\n");
    const int nRecords = LUM_SANITIZED ? 20000 : 200000;
    std::string strIn = "x\n";
    for (int i = 1; i <= nRecords; ++i)
        strIn += std::to_string(i) + "\n";
    Write(dir, "in.csv", strIn);
    pid_t pid = fork();
    if (pid == 0)
    {
        if (chdir(dir.Dir().c_str()) == 0 && freopen("first.err", "w", stderr) != nullptr)
            execl(LUM_CLI_PATH, "lumbasic", "batch", "--jobs", "2", "--fields", "x", "--in", "in.csv",
                  "--out", "first.csv", "slow.lbd", static_cast<char*>(nullptr));
        _exit(127);
    }
    // Ctrl-C once the batch is under way: its output file is being written.
    auto started = [&] {
        for (const auto& entry : std::filesystem::directory_iterator(dir.Dir()))
            if (entry.path().filename().string().rfind("first.csv.partial-", 0) == 0)
                return true;
        return false;
    };
    for (int i = 0; i < 1000 && !started(); ++i)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
    kill(pid, SIGINT);
    int nStatus = 0;
    waitpid(pid, &nStatus, 0);
    std::string strErr = dir.Read("first.err");
    std::smatch match;
    ASSERT_TRUE(std::regex_search(strErr, match, std::regex("go on with --skip ([0-9]+)\n"))) << strErr;
    EXPECT_EQ(WEXITSTATUS(nStatus), 1);
    auto o = RunCli(dir, "batch --jobs 2 --fields x --skip " + match[1].str() +
                             " --in in.csv --out second.csv slow.lbd");
    EXPECT_EQ(o.m_nStatus, 0) << o.m_strErr;
    std::vector<std::string> aFirst = Lines(dir.Read("first.csv")), aSecond = Lines(dir.Read("second.csv"));
    ASSERT_FALSE(aFirst.empty());
    ASSERT_FALSE(aSecond.empty());
    EXPECT_EQ(aFirst.size() - 1, std::stoul(match[1].str()));
    aFirst.insert(aFirst.end(), aSecond.begin() + 1, aSecond.end());
    EXPECT_EQ(aFirst, Lines(strIn));
}
