// The command line's loader of extension module libraries: it loads a shared library,
// whose static records register its module classes as it loads, and creates modules
// of those classes through the registry.
#pragma once

#include <lumbasic/LumBasicExtModul.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

// One --module option, with the --set options behind it.
struct SLumModuleOption
{
    std::string m_strLibrary;
    // The classes to create, in this order; empty for all that the library registers.
    std::vector<std::string> m_aClasses;
    // Settings handed to each module of this option, in order: name and value.
    std::vector<std::pair<std::string, std::string>> m_aSettings;
};

// "LIB[:CLASS,...]" as an option; false if a class name is empty.
bool LumParseModuleOption(const std::string& strArg, SLumModuleOption& option);

class CLumModuleLoader
{
public:
    // Loads the libraries and creates and sets up their modules; false after a
    // message on standard error. A module's refused setting fails as a CLumsException.
    bool Load(const std::vector<SLumModuleOption>& aOptions);
    // Attaches the modules in the order of the options to `basic`, which takes them.
    void AttachTo(CLumBasic& basic);

private:
    // The classes a library registered while it loaded, oldest first.
    struct Library
    {
        void* m_hHandle;
        std::vector<std::string> m_aClasses;
    };
    const Library* Open(const std::string& strPath);
    bool Create(const SLumModuleOption& option, const Library& library);

    std::vector<Library> m_aLibraries;
    std::vector<std::unique_ptr<CLumBasicExtModul>> m_aModuls;
};
