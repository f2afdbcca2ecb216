#include <lumbasic/LumBasicDebugger.h>

LUM_IMPLEMENT_RUNTIME(CLumBasicDebugger, CLumObject, nullptr)

int CLumBasicDebugger::m_fDebug = 0;
int CLumBasicDebugger::m_fProfile = 0;

// FIXME: the engine (breakpoints, watches, source stack, profiler) is not built yet.
// No interpreter creates a debugger until it is, so these are never reached.
void CLumBasicDebugger::Start(CLumBasic*, const char*, const char*) {}
void CLumBasicDebugger::End() {}
void CLumBasicDebugger::SetSource(const char*, const char*) {}
void CLumBasicDebugger::RecallSource() {}
int CLumBasicDebugger::Step(long)
{
    return 0;
}
