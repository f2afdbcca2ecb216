// Root of the library's polymorphic classes with a small run-time class record:
// a name, a base and an optional factory, enough to create a class by name and
// to down-cast with a check.
#pragma once

#include <lumbasic/LumExport.h>

#include <cstring>

class CLumObject;

struct LUM_API CLumRuntimeClass
{
    const char* m_lpszClassName;
    unsigned m_wSchema;
    const CLumRuntimeClass* m_pBaseClass;
    CLumObject* (*m_pfnCreateObject)();

    bool IsDerivedFrom(const CLumRuntimeClass* pBase) const
    {
        for (const CLumRuntimeClass* p = this; p != nullptr; p = p->m_pBaseClass)
            if (p == pBase)
                return true;
        return false;
    }
    CLumObject* CreateObject() const { return m_pfnCreateObject ? m_pfnCreateObject() : nullptr; }
};

class LUM_API CLumObject
{
public:
    virtual ~CLumObject() = default;
    virtual const CLumRuntimeClass* GetRuntimeClass() const { return &classCLumObject; }
    bool IsKindOf(const CLumRuntimeClass* pClass) const { return GetRuntimeClass()->IsDerivedFrom(pClass); }

    static const CLumRuntimeClass classCLumObject;
    static const CLumRuntimeClass* GetThisClass() { return &classCLumObject; }
};

// Declares and defines the record of a class; the factory may be null.
#define LUM_DECLARE_RUNTIME(cls)                                                                             \
public:                                                                                                      \
    static const CLumRuntimeClass class##cls;                                                                \
    static const CLumRuntimeClass* GetThisClass()                                                            \
    {                                                                                                        \
        return &class##cls;                                                                                  \
    }                                                                                                        \
    const CLumRuntimeClass* GetRuntimeClass() const override                                                 \
    {                                                                                                        \
        return &class##cls;                                                                                  \
    }

#define LUM_IMPLEMENT_RUNTIME(cls, base, factory)                                                            \
    const CLumRuntimeClass cls::class##cls = {#cls, 0xFFFF, &base::class##base, factory};

#define LUM_RUNTIME_CLASS(cls) (&cls::class##cls)

// A class creatable by name: its record's factory makes a new object with `new`.
#define LUM_DECLARE_DYNCREATE(cls)                                                                           \
    LUM_DECLARE_RUNTIME(cls)                                                                                 \
    static CLumObject* CreateObject();

#define LUM_IMPLEMENT_DYNCREATE(cls, base)                                                                   \
    CLumObject* cls::CreateObject()                                                                          \
    {                                                                                                        \
        return new cls;                                                                                      \
    }                                                                                                        \
    LUM_IMPLEMENT_RUNTIME(cls, base, &cls::CreateObject)

// Down-cast that gives null when the object is not of the class.
template <class T> T* LumDownCast(CLumObject* p)
{
    return (p != nullptr && p->IsKindOf(T::GetThisClass())) ? static_cast<T*>(p) : nullptr;
}
