// Stream buffers straight on file descriptors, for the servers that speak on standard
// input and output (`lumbasic lsp`, `lumbasic dap`). Unlike std::cin and std::cout they
// need no standard streams, whose set-up every start of the command line would pay.
#pragma once

#include <streambuf>

// Reads what the descriptor has, up to a buffer at a time.
class CLumFdInputBuf : public std::streambuf
{
public:
    explicit CLumFdInputBuf(int nFd) : m_nFd(nFd) {}

protected:
    int_type underflow() override;

private:
    int m_nFd;
    char m_achBuffer[65536];
};

// Holds what is written until a flush or a full buffer, so that a message goes out in
// one write where it fits.
class CLumFdOutputBuf : public std::streambuf
{
public:
    explicit CLumFdOutputBuf(int nFd);
    ~CLumFdOutputBuf() override { sync(); }
    CLumFdOutputBuf(const CLumFdOutputBuf&) = delete;
    CLumFdOutputBuf& operator=(const CLumFdOutputBuf&) = delete;

protected:
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char* p, std::streamsize n) override;
    int sync() override;

private:
    // False when the descriptor took less than all: the reader went away.
    bool WriteAll(const char* p, std::streamsize n);

    int m_nFd;
    char m_achBuffer[16384];
};
