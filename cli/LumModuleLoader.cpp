#include "LumModuleLoader.h"

#include <lumbasic/LumBasicExtModul.h>

#include <dlfcn.h>

#include <cstdio>
#include <filesystem>

bool LumParseModuleOption(const std::string& strArg, SLumModuleOption& option)
{
    // The last colon splits off the classes, unless a path follows it.
    size_t nColon = strArg.rfind(':');
    if (nColon == std::string::npos || strArg.find('/', nColon) != std::string::npos)
    {
        option.m_strLibrary = strArg;
        return !strArg.empty();
    }
    option.m_strLibrary = strArg.substr(0, nColon);
    size_t nStart = nColon + 1;
    while (true)
    {
        size_t nComma = strArg.find(',', nStart);
        std::string strClass = strArg.substr(nStart, nComma == std::string::npos ? nComma : nComma - nStart);
        if (strClass.empty())
            return false;
        option.m_aClasses.push_back(strClass);
        if (nComma == std::string::npos)
            break;
        nStart = nComma + 1;
    }
    return !option.m_strLibrary.empty();
}

// A library stays loaded until the process ends: its class records stay in the
// registry, and its modules' code must outlive them.
const CLumModuleLoader::Library* CLumModuleLoader::Open(const std::string& strPath)
{
    // dlopen looks for a bare file name on the library path only; a user means the
    // file in front of them.
    std::string strLoad = strPath;
    std::error_code error;
    if (strPath.find('/') == std::string::npos && std::filesystem::exists(strPath, error))
        strLoad = "./" + strPath;
    size_t nBefore = CLumBasicExtMeta::GetRegisteredClasses().size();
    void* hHandle = dlopen(strLoad.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (hHandle == nullptr)
    {
        fprintf(stderr, "lumbasic: cannot load the module library %s: %s\n", strPath.c_str(), dlerror());
        return nullptr;
    }
    for (const Library& library : m_aLibraries)
        if (library.m_hHandle == hHandle)
            return &library;
    std::vector<const CLumRuntimeClass*> aClasses = CLumBasicExtMeta::GetRegisteredClasses();
    Library library{hHandle, {}};
    // Newest first: the library's own records stand in front of what was there.
    for (size_t i = aClasses.size() - nBefore; i-- > 0;)
        library.m_aClasses.push_back(aClasses[i]->m_lpszClassName);
    if (library.m_aClasses.empty())
    {
        fprintf(stderr, "lumbasic: the library %s registers no module class\n", strPath.c_str());
        return nullptr;
    }
    m_aLibraries.push_back(library);
    return &m_aLibraries.back();
}

bool CLumModuleLoader::Create(const SLumModuleOption& option, const Library& library)
{
    const std::vector<std::string>& aClasses =
        option.m_aClasses.empty() ? library.m_aClasses : option.m_aClasses;
    for (const std::string& strClass : aClasses)
    {
        std::unique_ptr<CLumBasicExtModul> pModul(CLumBasicExtModul::CreateInstance(strClass.c_str()));
        if (pModul == nullptr)
        {
            std::string strKnown;
            for (const std::string& str : library.m_aClasses)
                strKnown += (strKnown.empty() ? "" : ", ") + str;
            fprintf(stderr, "lumbasic: no module class %s is registered (%s registers %s)\n",
                    strClass.c_str(), option.m_strLibrary.c_str(), strKnown.c_str());
            return false;
        }
        for (const auto& setting : option.m_aSettings)
            pModul->SetParm(setting.first.c_str(), setting.second.c_str());
        m_aModuls.push_back(std::move(pModul));
    }
    return true;
}

bool CLumModuleLoader::Load(const std::vector<SLumModuleOption>& aOptions)
{
    for (const SLumModuleOption& option : aOptions)
    {
        const Library* pLibrary = Open(option.m_strLibrary);
        if (pLibrary == nullptr || !Create(option, *pLibrary))
            return false;
    }
    return true;
}

void CLumModuleLoader::AttachTo(CLumBasic& basic)
{
    for (std::unique_ptr<CLumBasicExtModul>& pModul : m_aModuls)
        basic.LoadExtModul(pModul.release());
    m_aModuls.clear();
}
