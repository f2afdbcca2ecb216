// What the server knows besides the protocol: the open documents with the analysis
// of their current text, the settings, the workspace's folders, the extension table
// and what the client can do. Features read it; only the server changes it.
#pragma once

#include "LumExtensionTable.h"
#include "LumLspAnalysis.h"
#include "LumLspDocument.h"

#include <map>
#include <memory>
#include <string>
#include <vector>

class CLumLspWorkspace
{
public:
    // A request's document, its analysis and the compiler's position of the request's
    // "position", where it has one.
    struct At
    {
        CLumLspDocument& m_document;
        const CLumLspAnalysis& m_analysis;
        SLumPos m_pos;
    };

    ELumEncoding GetEncoding() const { return m_eEncoding; }
    void SetEncoding(ELumEncoding eEncoding) { m_eEncoding = eEncoding; }
    bool HasSnippets() const { return m_fSnippets; }
    void SetSnippets(bool fSnippets) { m_fSnippets = fSnippets; }
    const std::vector<std::string>& GetRoots() const { return m_aRoots; }
    void SetRoots(std::vector<std::string> aRoots) { m_aRoots = std::move(aRoots); }
    const CLumExtensionTable* GetExtensions() const { return m_pExtensions.get(); }

    // Takes the settings "strict" and "extensions" of `settings`, where they stand;
    // gives what went wrong with the extension table, empty if nothing did.
    std::string ApplySettings(const json& settings);
    SLumCompileOptions GetOptions() const;

    CLumLspDocument& Open(const std::string& strUri, std::string strText, int64_t nVersion);
    void Close(const std::string& strUri);
    // The open document of a URI; a request for any other fails with InvalidParams.
    CLumLspDocument& Document(const std::string& strUri);
    // The documents, for a change that concerns all of them.
    std::vector<CLumLspDocument*> Documents();
    // Forgets what was made of a document's text, after a change.
    void Changed(const CLumLspDocument& document);

    const CLumLspAnalysis& Analysis(const CLumLspDocument& document);
    const std::vector<SLumLibrary>& Libraries(const CLumLspDocument& document);
    // The document, analysis and position a request's parameters name.
    At Locate(const json& params);

private:
    struct Entry
    {
        std::unique_ptr<CLumLspDocument> m_pDocument;
        std::unique_ptr<CLumLspAnalysis> m_pAnalysis;
        std::unique_ptr<std::vector<SLumLibrary>> m_paLibraries;
    };

    std::map<std::string, Entry> m_mapOpen;
    ELumEncoding m_eEncoding = ELumEncoding::Utf16;
    bool m_fSnippets = false;
    std::vector<std::string> m_aRoots;
    bool m_fStrict = false;
    std::string m_strExtensions;
    std::unique_ptr<CLumExtensionTable> m_pExtensions;
};
