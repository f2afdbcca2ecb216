// The source-level debugger seen from the interpreter: the switches a host sets
// before a run and the operations the run calls at markers, calls and imports.
#pragma once

#include <lumbasic/LumObject.h>

class CLumBasic;

class CLumBasicDebugger : public CLumObject
{
    LUM_DECLARE_RUNTIME(CLumBasicDebugger)

public:
    // Debug mode for interpreters made from now on.
    static int m_fDebug;
    // Count line hits.
    static int m_fProfile;

    CLumBasicDebugger() = default;
    ~CLumBasicDebugger() override = default;

    virtual void Start(CLumBasic* pBasic, const char* pszSource, const char* pszText);
    virtual void End();
    virtual void SetSource(const char* pszSource, const char* pszText);
    virtual void RecallSource();
    // Called at a line marker in debug mode; a non-zero result ends the run loop.
    virtual int Step(long nLine);
};
