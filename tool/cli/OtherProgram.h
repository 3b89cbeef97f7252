// Programs of this tool's that do what not everybody needs: they lie beside it in a build, or where the installation has its libexec.
#pragma once

#include "verbs/Verb.h"

#include <string>

namespace Tool {

/// Becomes the program, with these words. Returns only when that cannot be, and why.
std::string becomeProgram(std::string const& name, Words words);

} // namespace Tool
