// The process-wide registry of extension module classes. A host declares one record
// with static lifetime per module class; it registers the class while the host's
// code loads (the main program or a shared library loaded later), and from then on a
// module of that class can be created from its name alone:
//
//     LUM_IMPLEMENT_DYNCREATE(CConsoleModul, CLumBasicExtModul)
//     static CLumBasicExtMeta s_cConsoleMeta(*LUM_RUNTIME_CLASS(CConsoleModul));
//
// Registration and lookup may come from several threads at once.
#pragma once

#include <lumbasic/LumExport.h>
#include <lumbasic/LumObject.h>

#include <mutex>
#include <vector>

class CLumBasicExtModul;

class LUM_API CLumBasicExtMeta
{
public:
    // Registers the class. The record must outlive every later lookup: the chain only
    // grows, and the newest record stands first.
    explicit CLumBasicExtMeta(const CLumRuntimeClass& rClass);
    CLumBasicExtMeta(const CLumBasicExtMeta&) = delete;
    CLumBasicExtMeta& operator=(const CLumBasicExtMeta&) = delete;

    // A new module of the class registered last under `pszClassName`; null for an
    // unknown name, a class without factory and a class that is no module.
    static CLumBasicExtModul* CreateExtModule(const char* pszClassName);
    // The classes registered so far, newest first: a host that loads a library sees
    // what it registered.
    static std::vector<const CLumRuntimeClass*> GetRegisteredClasses();

protected:
    // The class registered last under `pszClassName`, or null.
    static const CLumRuntimeClass* GetRuntimeClass(const char* pszClassName);

private:
    CLumBasicExtMeta* m_pNext = nullptr;
    const CLumRuntimeClass* m_pClass = nullptr;

    static CLumBasicExtMeta* sm_pFirstMeta;
    // Constant-initialised, so that it is ready before any library's static records
    // register themselves.
    static std::mutex sm_cMetaLock;
};
