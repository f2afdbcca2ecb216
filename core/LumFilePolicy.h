// A host's file policy: what a run may open on its program's behalf. Either a root
// folder, inside which every such file must lie once ".", ".." and symbolic links are
// resolved, or a resolver that hands out images and sources by name and lets no file
// be opened at all. An interpreter and its imports share one, and the debugger of its
// run takes it over; it never changes once made.
#pragma once

#include <lumbasic/LumBasic.h>

#include <filesystem>
#include <string>
#include <vector>

class CLumFilePolicy
{
public:
    // Fails when `pszRoot` is no folder.
    explicit CLumFilePolicy(const char* pszRoot);
    explicit CLumFilePolicy(LumFileResolver fnResolve);

    // Fails with the refusal unless the file `strName` names lies inside the root. Under
    // a resolver no file is admitted.
    void Admit(const std::string& strName) const;
    // The bytes the resolver gives for `strName`; fails with the refusal when it has no
    // resolver or the resolver refuses.
    std::vector<uint8_t> Resolve(const std::string& strName) const;
    bool HasResolver() const { return m_fResolver; }
    // The image a program imports by `pszName`: from the resolver, or read from the file
    // once admitted. The caller owns it.
    CLumBasicFile* OpenImage(const char* pszName) const;

private:
    [[noreturn]] static void Refuse(const std::string& strName);

    std::filesystem::path m_root;
    bool m_fResolver = false;
    LumFileResolver m_fnResolve;
};
