// A report as text or as JSON, so that both always say the same.
#pragma once

#include "report/Report.h"

#include <iosfwd>

namespace Tool {

class Console;

/// How JSON is laid out: over many lines, or as one line of many.
enum class JsonLayout { Indented, Line };

void renderText(Report const& report, Console& console);
void renderJson(Report const& report, std::ostream& out, JsonLayout layout = JsonLayout::Indented);

/// In the form that is asked for, unless the report has a form of its own. Answers the exit status.
int show(Report const& report, Console& console, bool json, JsonLayout layout = JsonLayout::Indented);

} // namespace Tool
