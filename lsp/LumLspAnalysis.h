// What the compiler makes of one version of a document: its tokens, comments, syntax
// tree and diagnostics, the index of its names, and the libraries it imports. Made
// once per version and settings, and shared by every feature.
#pragma once

#include "LumCompiler.h"
#include "LumLspDocument.h"
#include "LumSymbolIndex.h"

#include <memory>
#include <string>
#include <vector>

// A library that an Import names, found by its source or its image.
struct SLumLibrary
{
    // The file an editor opens for it: the source, or the image if no source is found.
    std::string m_strPath;
    bool m_fSource = false;
    // What was compiled: the source's text, or the image's Declare texts.
    std::string m_strText;
    // Its source compiled; for an image without a source, the Declare texts its image
    // records, compiled as a source of their own.
    std::unique_ptr<CLumCompiler> m_pCompiler;
};

class CLumLspAnalysis
{
public:
    CLumLspAnalysis(const CLumLspDocument& document, const SLumCompileOptions& options);

    const CLumCompiler& GetCompiler() const { return *m_pCompiler; }
    const CLumSymbolIndex& GetIndex() const { return *m_pIndex; }
    // Why the compiler gave up on the source, if it did: then the analysis is empty.
    const std::string& GetFailure() const { return m_strFailure; }
    // The index of the last token that starts before `pos`; the tokens' size if none.
    size_t TokenBefore(SLumPos pos) const;
    // The string literals that Import statements name, with their positions.
    std::vector<const CLumExpr*> ImportPaths() const;

private:
    std::unique_ptr<CLumCompiler> m_pCompiler;
    std::unique_ptr<CLumSymbolIndex> m_pIndex;
    std::string m_strFailure;
};

// Where an Import's path leads, as a run from `aRoots` or the document's folder
// would find it: the library's source if one stands beside the image or the image
// records one, else the image. Empty if nothing is found.
std::string LumFindImport(const std::string& strPath, const std::string& strDocument,
                          const std::vector<std::string>& aRoots, bool& fSource);
// The libraries of the Imports of `analysis` that are found.
std::vector<SLumLibrary> LumLoadLibraries(const CLumLspAnalysis& analysis, const std::string& strDocument,
                                          const std::vector<std::string>& aRoots);
// The procedures a library offers: those its source defines (Sub Main aside), or
// those its image declares.
std::vector<const CLumProc*> LumLibraryProcedures(const SLumLibrary& library);
// A file's text if it is a regular file of sensible size: editors' settings and
// sources name files, and the server must never hang on a device or a huge file.
bool LumReadSmallFile(const std::string& strPath, std::string& strContent);
