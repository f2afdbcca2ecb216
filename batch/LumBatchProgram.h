// The program of a batch: its image, compiled once and read by every thread, the
// name its failures are reported under, and what each thread's interpreter gets
// before its first record (limits, modules, a sandbox).
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

class CLumBasic;

struct SLumBatchProgram
{
    std::vector<uint8_t> m_aImage;
    // The program as its user knows it: the path of its file, or a name of the host's.
    std::string m_strName;
    // Called once on each thread's interpreter; may throw a CLumsException.
    std::function<void(CLumBasic&)> m_fnSetUp;
};
