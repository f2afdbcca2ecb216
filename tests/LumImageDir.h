// A temporary directory of image files for tests that run images from files or
// through the command-line host.
#pragma once

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <vector>

namespace lumtest
{
class CImageDir
{
public:
    CImageDir()
    {
        std::string strTemplate = (std::filesystem::temp_directory_path() / "lumimages-XXXXXX").string();
        if (mkdtemp(&strTemplate[0]) == nullptr)
            throw std::runtime_error("cannot make a temporary directory");
        m_strDir = strTemplate;
    }
    ~CImageDir() { std::filesystem::remove_all(m_strDir); }
    CImageDir(const CImageDir&) = delete;
    CImageDir& operator=(const CImageDir&) = delete;

    const std::string& Dir() const { return m_strDir; }
    std::string Path(const std::string& strName) const { return m_strDir + "/" + strName; }
    std::string Save(const std::string& strName, const std::vector<uint8_t>& image) const
    {
        std::string strPath = Path(strName);
        std::ofstream out(strPath, std::ios::binary);
        out.write(reinterpret_cast<const char*>(image.data()), static_cast<std::streamsize>(image.size()));
        EXPECT_TRUE(out.good()) << strPath;
        return strPath;
    }
    std::string Read(const std::string& strName) const
    {
        std::ifstream in(Path(strName), std::ios::binary);
        std::ostringstream ss;
        ss << in.rdbuf();
        return ss.str();
    }

private:
    std::string m_strDir;
};

// What a run of the command-line host left.
struct CliResult
{
    int m_nStatus;
    std::string m_strOut;
    std::string m_strErr;
};

// Runs `lumbasic <strArgs>` in the directory, standard input from the file
// `strInput` there or else /dev/null (no terminal), output and errors captured.
inline CliResult RunCli(const CImageDir& dir, const std::string& strArgs,
                        const std::string& strInput = "/dev/null")
{
    std::string strCommand = "cd '" + dir.Dir() + "' && '" LUM_CLI_PATH "' " + strArgs + " < '" + strInput +
                             "' > cli.out 2> cli.err";
    int nStatus = std::system(strCommand.c_str());
    CliResult result;
    result.m_nStatus = WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
    result.m_strOut = dir.Read("cli.out");
    result.m_strErr = dir.Read("cli.err");
    return result;
}
} // namespace lumtest
