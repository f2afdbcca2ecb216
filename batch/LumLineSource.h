// The lines of an input file, read in blocks as they are wanted, each with its
// number; a CR before a line's end is dropped, blank lines are passed over.
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

class CLumLineSource
{
public:
    CLumLineSource() = default;
    ~CLumLineSource();
    CLumLineSource(const CLumLineSource&) = delete;
    CLumLineSource& operator=(const CLumLineSource&) = delete;

    // False with "FILE: reason" when the file cannot be read.
    bool Open(const std::string& strPath, std::string& strError);
    // The next line that is not blank; false at the end, or with `strError` set when
    // reading fails. The view lasts until the next call.
    bool Next(std::string_view& line, uint64_t& nLine, std::string& strError);
    // Bytes read so far and the file's size (0 when it has none, a pipe).
    uint64_t GetBytesRead() const { return m_nConsumed; }
    uint64_t GetSize() const { return m_nSize; }

private:
    bool Fill(std::string& strError);

    std::string m_strPath;
    FILE* m_pFile = nullptr;
    std::vector<char> m_aBuffer;
    size_t m_nAt = 0, m_nEnd = 0;
    bool m_fEof = false;
    uint64_t m_nLine = 0;
    uint64_t m_nConsumed = 0;
    uint64_t m_nSize = 0;
};
