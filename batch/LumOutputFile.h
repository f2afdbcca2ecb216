// A file written whole or not at all: written under a name of its own beside the
// file's, and renamed into place by Commit; without Commit it is removed again.
#pragma once

#include <cstdio>
#include <string>

class CLumOutputFile
{
public:
    CLumOutputFile() = default;
    ~CLumOutputFile();
    CLumOutputFile(const CLumOutputFile&) = delete;
    CLumOutputFile& operator=(const CLumOutputFile&) = delete;

    // False with "FILE: reason" when the file cannot be made there.
    bool Open(const std::string& strPath, std::string& strError);
    void Write(const std::string& str);
    // Puts the file in place; false with "FILE: reason" when a write failed or the
    // file cannot be put there.
    bool Commit(std::string& strError);

private:
    void Discard();

    std::string m_strPath, m_strTemp;
    FILE* m_pFile = nullptr;
    int m_nError = 0;
};
