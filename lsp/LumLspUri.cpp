#include "LumLspUri.h"

#include <cctype>
#include <cstdio>

std::string LumPathOfUri(const std::string& strUri)
{
    static const std::string SCHEME = "file://";
    if (strUri.compare(0, SCHEME.size(), SCHEME) != 0)
        return "";
    std::string strPath;
    for (size_t i = SCHEME.size(); i < strUri.size(); ++i)
    {
        char c = strUri[i];
        if (c == '%' && i + 2 < strUri.size() && std::isxdigit(static_cast<unsigned char>(strUri[i + 1])) &&
            std::isxdigit(static_cast<unsigned char>(strUri[i + 2])))
        {
            strPath += static_cast<char>(std::stoi(strUri.substr(i + 1, 2), nullptr, 16));
            i += 2;
        }
        else
            strPath += c;
    }
    // file://host/path names a path on another host; only the local one is read.
    size_t nSlash = strPath.find('/');
    return nSlash == std::string::npos ? "" : strPath.substr(nSlash);
}

std::string LumUriOfPath(const std::string& strPath)
{
    std::string strUri = "file://";
    for (unsigned char c : strPath)
    {
        if (std::isalnum(c) || c == '/' || c == '-' || c == '_' || c == '.' || c == '~')
            strUri += static_cast<char>(c);
        else
        {
            char aHex[4];
            snprintf(aHex, sizeof aHex, "%%%02X", c);
            strUri += aHex;
        }
    }
    return strUri;
}
