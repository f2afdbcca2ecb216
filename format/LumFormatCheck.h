// Formatting that is proved, source by source, to keep what the program does: the
// formatted source is compiled beside the original and the two must agree.
#pragma once

#include "LumCodeGen.h"

#include <string>
#include <string_view>

// Whether `changed` does what `original` does. A source that compiles must compile to
// the same image apart from the line numbers of its markers; a source with errors
// must give the same errors at the same lines. False, with where the two part in
// `strWhy`, otherwise.
bool LumSameProgram(std::string_view original, std::string_view changed, const SLumCompileOptions& options,
                    std::string& strWhy);

// `source` in the canonical layout of CLumFormatter, when LumSameProgram holds for
// the two; false, with the reason, when it does not (then `strFormatted` is empty).
bool LumFormatChecked(std::string_view source, const SLumCompileOptions& options, std::string& strFormatted,
                      std::string& strWhy);
