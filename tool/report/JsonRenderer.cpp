#include "report/Renderers.h"

#include <ostream>
#include <utility>

namespace Tool {

namespace {

Json object(Section const& section, std::vector<Json> const& row)
{
    Json result = Json::object();
    for (std::size_t column = 0; column < row.size(); ++column)
        result[section.columns[column]] = row[column];
    return result;
}

Json sectionJson(Section const& section)
{
    if (section.layout == Layout::Text)
        return section.rows.front().front();
    if (section.layout == Layout::Pairs)
        return section.rows.empty() ? Json() : object(section, section.rows.front());
    Json rows = Json::array();
    for (auto const& row : section.rows)
        rows.push_back(object(section, row));
    return rows;
}

} // namespace

void renderJson(Report const& report, std::ostream& out, JsonLayout layout)
{
    Json result = Json::object();
    for (auto const& section : report.sections)
        result[section.name] = sectionJson(section);
    if (!report.problems.empty()) {
        Json& errors = result["errors"] = Json::array();
        for (auto const& problem : report.problems) {
            Json entry{{"item", problem.item.empty() ? Json() : Json(problem.item)}, {"reason", problem.reason}};
            if (!problem.suggestions.empty())
                entry["suggestions"] = problem.suggestions;
            errors.push_back(std::move(entry));
        }
    }
    result["exit"] = static_cast<int>(report.code);
    // Values are bytes and need not be UTF-8: what is not is replaced, so that the output always parses.
    out << result.dump(layout == JsonLayout::Line ? -1 : 2, ' ', false, Json::error_handler_t::replace) << std::endl;
}

} // namespace Tool
