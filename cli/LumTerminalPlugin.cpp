#include "LumTerminalPlugin.h"

#include <dlfcn.h>
#include <filesystem>

std::unique_ptr<CLumTerminalToolkit> LumLoadTerminalToolkit(std::string& strError)
{
    std::error_code error;
    std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error)
    {
        strError = "/proc/self/exe: " + error.message();
        return nullptr;
    }
    std::string strPath =
        (exe.parent_path() / LUM_BIN_TO_LIB / LUM_TERMINAL_PLUGIN).lexically_normal().string();
    // The plugin stays loaded until the process ends, as module libraries do: what it
    // made must not outlive its code, and a process loads it once.
    void* hHandle = dlopen(strPath.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (hHandle == nullptr)
    {
        strError = dlerror();
        return nullptr;
    }
    auto fnCreate =
        reinterpret_cast<LumCreateTerminalToolkitFunction>(dlsym(hHandle, LUM_TERMINAL_TOOLKIT_ENTRY));
    if (fnCreate == nullptr)
    {
        strError = dlerror();
        return nullptr;
    }
    return std::unique_ptr<CLumTerminalToolkit>(fnCreate());
}
