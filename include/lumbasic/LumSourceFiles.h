// How the debugger reaches source files: whether a path names one, its absolute form
// and its bytes. A host replaces it to serve sources from elsewhere or to convert
// their line ends for its window.
#pragma once

#include <lumbasic/LumExport.h>

#include <string>

class LUM_API CLumSourceFiles
{
public:
    virtual ~CLumSourceFiles() = default;

    // Whether the path names an existing file.
    virtual bool Exists(const std::string& strPath) const;
    // The canonical absolute path: symbolic links, "." and ".." resolved.
    virtual std::string AbsolutePath(const std::string& strPath) const;
    // The file's bytes as they stand; throws a CLumsException when it cannot be read.
    virtual std::string ReadBytes(const std::string& strPath) const;
};

// Reads a source as a window shows it on this platform: each lone LF becomes CR LF, as
// rows end at CR LF alone, so that a source written here shows a row per line.
class LUM_API CLumCrLfSourceFiles : public CLumSourceFiles
{
public:
    std::string ReadBytes(const std::string& strPath) const override;
};

// Installs the access the debugger uses from now on and gives the one before. The
// object stays the caller's and must outlive its use; null brings back the default.
LUM_API CLumSourceFiles* LumSetSourceFiles(CLumSourceFiles* pFiles);
// The access in use.
LUM_API CLumSourceFiles& LumGetSourceFiles();
