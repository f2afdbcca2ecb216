// The report of a failed run for a person: the message at the failing line of its
// source, then the calls that led there. `--trail` prints the full trail instead.
#pragma once

#include <lumbasic/LumsException.h>

#include <string>

// The lines, each ending in a newline:
//
//     lib.lbd:2: Division durch Null.
//       in Ratio, called from Show at prog.lbd:7
//       in Show, called from Main at prog.lbd:4
//
// The message is the trail's first entry. A source is named as it was given on the
// command line (`strProgram`) when it is that file, else relative to the working
// directory unless it lies above it; a procedure whose image records no source is
// taken to come from `strProgram`. The run an imported image makes begins with its
// Main (or its statements outside every procedure), which the importer did not call
// but imported. Repeated lines of a recursion are given once with their count.
std::string LumFailureReport(const CLumsException& e, const std::string& strProgram);
