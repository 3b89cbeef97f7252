#include "report/Renderers.h"

#include <cctype>
#include <ostream>
#include <utility>

namespace Tool {

namespace {

/// A name of a section or column in camelCase: "value check" is valueCheck, "sub-item" subItem, "URL parameters" urlParameters.
std::string keyOf(std::string const& name)
{
    std::string key;
    bool isLeading = true;
    bool begins = false;
    for (char const c : name) {
        auto const letter = static_cast<unsigned char>(c);
        bool const parts = c == ' ' || c == '-';
        isLeading = isLeading && std::isupper(letter) != 0;
        if (!parts)
            key += static_cast<char>(begins ? std::toupper(letter) : isLeading ? std::tolower(letter) : letter);
        begins = parts;
    }
    return key;
}

/// With room for its members: one that grows copies them, since their keys are constant.
Json objectFor(std::size_t members)
{
    auto result = Json::object();
    result.get_ref<Json::object_t&>().reserve(members);
    return result;
}

Json object(Section const& section, std::vector<Json> const& row)
{
    auto const members = row.size() - section.spare;
    auto result = objectFor(members);
    for (std::size_t column = 0; column < members; ++column)
        result[keyOf(section.columns[column])] = row[column];
    return result;
}

Json sectionJson(Section const& section)
{
    if (section.layout == Layout::Text)
        return section.rows.front().front();
    if (section.layout == Layout::Pairs)
        return section.rows.empty() ? Json() : object(section, section.rows.front());
    Json rows = Json::array();
    for (auto const& row : section.rows) {
        if (section.nested.empty()) {
            rows.push_back(object(section, row));
            continue;
        }
        Json head = Json::object();
        Json rest = Json::object();
        for (std::size_t column = 0; column < row.size(); ++column)
            (column < section.headings ? head : rest)[keyOf(section.columns[column])] = row[column];
        auto const isHeading = [&](Json const& entry) {
            return std::all_of(head.items().begin(), head.items().end(),
                               [&](auto const& each) { return entry[each.key()] == each.value(); });
        };
        if (rows.empty() || !isHeading(rows.back())) {
            head[section.nested] = Json::array();
            rows.push_back(std::move(head));
        }
        if (!row[section.headings].is_null())
            rows.back()[section.nested].push_back(std::move(rest));
    }
    return rows;
}

} // namespace

void renderJson(Report const& report, std::ostream& out, JsonLayout layout)
{
    auto result = objectFor(report.sections.size() + 2);
    for (auto const& section : report.sections)
        result[keyOf(section.name)] = sectionJson(section);
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
