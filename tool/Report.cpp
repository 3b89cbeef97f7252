#include "Report.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <ostream>
#include <utility>

namespace Tool {

namespace {

/// Long values are cut in tables, save in this column, which says why something was not taken, if there is anything to say.
constexpr std::size_t widestCell = 44;
constexpr char const* uncutColumn = "reason";

std::string escaped(std::string const& text)
{
    std::string line;
    unsigned char previous = 0;
    for (char const c : text) {
        auto const byte = static_cast<unsigned char>(c);
        // Behind 0xc2 stands one of the control characters above 0x7f, which terminals obey as well.
        bool const isControl = byte < 0x20 || byte == 0x7f || (previous == 0xc2 && byte < 0xa0);
        if (c == '\n')
            line += "\\n";
        else if (c == '\t')
            line += "\\t";
        else if (isControl)
            line += fmt::format("\\x{:02x}", byte);
        else
            line += c;
        previous = byte;
    }
    return line;
}

/// The number of characters, not bytes, so that columns stay aligned for texts in UTF-8.
std::size_t width(std::string const& text)
{
    return static_cast<std::size_t>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xc0) != 0x80; }));
}

std::string padded(std::string text, std::size_t columns)
{
    text.append(columns - std::min(columns, width(text)), ' ');
    return text;
}

std::string cut(std::string text)
{
    if (width(text) <= widestCell)
        return text;
    std::size_t end = widestCell - 3;
    while (end > 0 && (text[end] & 0xc0) == 0x80)
        --end;
    return text.substr(0, end) + "...";
}

std::string withoutTrailingBlanks(std::string line)
{
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

/// One column of text: its heading and its cells; empty when no row has a value.
std::vector<std::string> columnOf(Section const& section, std::size_t column)
{
    auto const isNull = [&](auto const& row) { return row[column].is_null(); };
    // True without rows as well: an empty table has no header.
    if (std::all_of(section.rows.begin(), section.rows.end(), isNull))
        return {};
    std::vector<std::string> cells{section.columns[column]};
    for (auto const& row : section.rows) {
        if (section.columns[column] == uncutColumn)
            cells.push_back(row[column].is_null() ? "" : cellText(row[column]));
        else
            cells.push_back(cut(cellText(row[column])));
    }
    return cells;
}

/// Writes cells by column, each column as wide as its widest cell.
void writeColumns(std::vector<std::vector<std::string>> const& columns, std::ostream& out)
{
    if (columns.empty())
        return;
    std::vector<std::string> lines(columns.front().size());
    for (auto const& cells : columns) {
        std::size_t widest = 0;
        for (auto const& cell : cells)
            widest = std::max(widest, width(cell));
        for (std::size_t line = 0; line < lines.size(); ++line)
            lines[line] += padded(cells[line], widest + 2);
    }
    for (auto& line : lines)
        out << withoutTrailingBlanks(std::move(line)) << '\n';
}

void writeTable(Section const& section, std::ostream& out)
{
    std::vector<std::vector<std::string>> columns;
    for (std::size_t column = 0; column < section.columns.size(); ++column) {
        auto cells = columnOf(section, column);
        if (cells.empty())
            continue;
        std::transform(cells[0].begin(), cells[0].end(), cells[0].begin(),
                       [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
        columns.push_back(std::move(cells));
    }
    writeColumns(columns, out);
}

void writeBeside(Section const& section, std::ostream& out)
{
    std::vector<std::vector<std::string>> beside{section.columns};
    for (auto const& row : section.rows) {
        auto& cells = beside.emplace_back();
        for (auto const& cell : row)
            cells.push_back(cut(cellText(cell)));
    }
    writeColumns(beside, out);
}

void writePairs(Section const& section, std::ostream& out)
{
    std::size_t widest = 0;
    for (auto const& column : section.columns)
        widest = std::max(widest, width(column));
    for (auto const& row : section.rows) {
        for (std::size_t column = 0; column < row.size(); ++column) {
            if (!row[column].is_null())
                out << padded(section.columns[column] + ":", widest + 2) << cellText(row[column]) << '\n';
        }
    }
}

std::string rawText(Json const& cell)
{
    return cell.is_string() ? cell.get<std::string>() : cellText(cell);
}

void writeValues(Section const& section, std::ostream& out)
{
    if (section.rows.size() == 1) {
        out << rawText(section.rows.front().back()) << '\n';
        return;
    }
    for (auto const& row : section.rows)
        out << rawText(row.front()) << " = " << cellText(row.back()) << '\n';
}

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

std::string cellText(Json const& cell)
{
    if (cell.is_null())
        return "-";
    if (cell.is_string()) {
        auto const& text = cell.get_ref<std::string const&>();
        return text.empty() ? "\"\"" : escaped(text);
    }
    if (cell.is_array()) {
        std::string text;
        for (auto const& element : cell)
            text += (text.empty() ? "" : ", ") + cellText(element);
        return text.empty() ? "-" : text;
    }
    return cell.dump();
}

void renderText(Report const& report, std::ostream& out, std::ostream& err)
{
    for (auto const& section : report.sections) {
        if (!section.title.empty())
            out << section.title << '\n';
        switch (section.layout) {
        case Layout::Table:
            writeTable(section, out);
            if (section.rows.empty() && !section.title.empty())
                out << "  nothing\n";
            break;
        case Layout::Beside:
            writeBeside(section, out);
            break;
        case Layout::Pairs:
            writePairs(section, out);
            break;
        case Layout::Values:
            writeValues(section, out);
            break;
        case Layout::Text:
            out << section.rows.front().front().get_ref<std::string const&>();
            break;
        }
    }
    for (auto const& note : report.notes)
        out << note << '\n';
    out.flush();
    for (auto const& problem : report.problems) {
        err << "mediadata: " << (problem.item.empty() ? "" : escaped(problem.item) + ": ") << escaped(problem.reason)
            << '\n';
        for (auto const& suggestion : problem.suggestions)
            err << "  did you mean  " << suggestion << '\n';
    }
    err.flush();
}

void renderJson(Report const& report, std::ostream& out)
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
    out << result.dump(2, ' ', false, Json::error_handler_t::replace) << std::endl;
}

} // namespace Tool
