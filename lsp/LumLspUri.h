// file: URIs of documents and the paths of the files they name.
#pragma once

#include <string>

// The path of a file: URI, percent escapes decoded; empty for any other URI.
std::string LumPathOfUri(const std::string& strUri);
// The file: URI of an absolute path.
std::string LumUriOfPath(const std::string& strPath);
