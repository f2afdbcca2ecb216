// A binary archive over a stream, in one direction: 32-bit numbers, little-endian on
// every platform, nothing added of its own. Loading fails with a message when the
// stream ends early, so a damaged file is never read past its end.
#pragma once

#include "core/LumFrame.h"

#include <cstdint>
#include <istream>
#include <ostream>
#include <string>

class CLumArchive
{
public:
    // Loads from `in`; `strName` names the file in messages.
    CLumArchive(std::istream& in, std::string strName) : m_pIn(&in), m_strName(std::move(strName)) {}
    // Stores to `out`.
    CLumArchive(std::ostream& out, std::string strName) : m_pOut(&out), m_strName(std::move(strName)) {}

    bool IsStoring() const { return m_pOut != nullptr; }

    CLumArchive& operator<<(int32_t n)
    {
        uint32_t u = static_cast<uint32_t>(n);
        char aBytes[4] = {static_cast<char>(u), static_cast<char>(u >> 8), static_cast<char>(u >> 16),
                          static_cast<char>(u >> 24)};
        m_pOut->write(aBytes, sizeof aBytes);
        return *this;
    }

    CLumArchive& operator>>(int32_t& n)
    {
        unsigned char aBytes[4];
        if (!m_pIn->read(reinterpret_cast<char*>(aBytes), sizeof aBytes))
            LumRaise(LUM_MSG_FILE_SHORT, m_strName.c_str());
        n = static_cast<int32_t>(aBytes[0] | aBytes[1] << 8 | aBytes[2] << 16 |
                                 static_cast<uint32_t>(aBytes[3]) << 24);
        return *this;
    }

private:
    std::istream* m_pIn = nullptr;
    std::ostream* m_pOut = nullptr;
    std::string m_strName;
};
