// Warnings about a source that compiles but likely does not do what it says. They go
// to the diagnostics as warnings and never stop the compile.
#pragma once

#include "LumAst.h"
#include "LumCodeGen.h"
#include "LumDiagnostics.h"

#include <set>
#include <string>

// Warns, always, of a parameter or local read after the procedure called itself: all
// calls of a procedure share one set of them, so the inner call has changed it. With
// options.m_fStrict, also of a variable that is read but assigned nowhere in the
// program and is not one of options.m_pHostNames.
void LumWarnAbout(const CLumProgram& program, const SLumCompileOptions& options,
                  CLumDiagnostics& diagnostics);

// The plain variables a procedure keeps under its own name: its parameters and the
// names it Dims without indices, wherever in its body. Sub Main has none: its Dim
// declares globals. Every other name it uses is a global (or an array, which is
// global too).
std::set<std::string> LumLocalsOf(const CLumProc* pProc);
