#include "report/Renderers.h"

#include "report/Console.h"

#include <ostream>

namespace Tool {

int show(Report const& report, Console& console, bool json, JsonLayout layout)
{
    console.err << report.remarks;
    if (report.form == Report::Form::AsJson || (json && report.form != Report::Form::AsText))
        renderJson(report, console.out, layout);
    else
        renderText(report, console);
    return report.code;
}

} // namespace Tool
