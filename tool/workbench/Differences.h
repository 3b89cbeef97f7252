// What differs between this telephone and another, a file or the defaults.
#pragma once

#include "workbench/Document.h"

#include <string>

namespace Tool {

class Workbench;

/// Every item in which the telephone differs from `other`. Items of which one side says nothing are left out, save flags and
/// the items of other components, which may be there or not.
Report diff(Workbench& workbench, Document const& other, std::string const& otherName);

} // namespace Tool
