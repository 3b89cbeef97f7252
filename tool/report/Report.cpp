#include "report/Report.h"

#include <algorithm>
#include <utility>

namespace Tool {

void Report::raise(ExitCode other)
{
    code = std::max(code, other);
}

void Report::fail(ExitCode why, Problem problem)
{
    raise(why);
    problems.push_back(std::move(problem));
}

Report failure(ExitCode code, std::string item, std::string reason, std::vector<std::string> suggestions)
{
    Report report;
    report.fail(code, {std::move(item), std::move(reason), std::move(suggestions)});
    return report;
}

} // namespace Tool
