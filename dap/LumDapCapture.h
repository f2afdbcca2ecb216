// While it lives, what the process writes to a file descriptor (standard output or
// standard error: the program's Print, a module's printf, the command line's report)
// goes to the client as output events instead, in the order it was written.
#pragma once

#include "LumDapChannel.h"

#include <string>
#include <thread>

class CLumDapCapture
{
public:
    CLumDapCapture(int nFd, std::string strCategory, CLumDapChannel& channel);
    // Flushes the streams, gives the descriptor back and sends what is left.
    ~CLumDapCapture();
    CLumDapCapture(const CLumDapCapture&) = delete;
    CLumDapCapture& operator=(const CLumDapCapture&) = delete;

private:
    int m_nFd;
    int m_nSaved = -1;
    int m_nRead = -1;
    std::thread m_thread;
};
