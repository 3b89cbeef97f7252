#include "report/Renderers.h"

#include "report/Console.h"
#include "report/Result.h"
#include "report/Text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <functional>
#include <iterator>
#include <ostream>
#include <utility>

namespace Tool {

namespace {

/// Long values are cut in tables at a terminal, as far as it takes, but not below this width.
constexpr std::size_t narrowestCell = 12;
/// What is wider makes no table wide: the remarks of one that is stand below its rows.
constexpr std::size_t widestCell = 44;

/// The room that a text has.
struct Room {
    std::size_t columns;
    bool isTerminal;
    bool cuts;
};

/// Columns of sentences: why something was not taken, what an item means. They are never cut, and stand below their rows where a
/// table is too wide.
bool isRemark(std::string const& column)
{
    return column == "accepted" || column == "reason" || column == "help";
}

/// A bool that marks a row, in text by an arrow and by colour.
bool isMark(std::string const& column)
{
    return column == "wins";
}

/// A name that is cut names nothing.
bool isName(std::string const& column)
{
    return column == "item" || column == "sub-item";
}

std::string padded(std::string text, std::size_t columns)
{
    text.append(columns - std::min(columns, width(text)), ' ');
    return text;
}

std::string cut(std::string const& text, std::size_t columns)
{
    return width(text) <= columns ? text : beginning(text, columns - 3) + "...";
}

Look lookOf(std::string_view word)
{
    auto const* const row =
        std::find_if(results.begin(), results.end(), [=](ResultRow const& each) { return each.word == word; });
    return row == results.end() ? Look::Plain : row->look;
}

std::string dressed(std::string const& text, Look look)
{
    constexpr std::array<char const*, 4> codes{"", "\x1b[1m", "\x1b[32m", "\x1b[31m"};
    return look == Look::Plain || text.empty() ? text : codes[static_cast<std::size_t>(look)] + text + "\x1b[0m";
}

std::string withoutTrailingBlanks(std::string line)
{
    line.erase(line.find_last_not_of(' ') + 1);
    return line;
}

struct Column {
    std::string name;
    std::vector<std::string> cells; ///< of a table the heading first
    bool mayBeCut;
};

using Columns = std::vector<Column>;

/// One column of a table; without cells when no row has a value.
Column columnOf(Section const& section, std::size_t index)
{
    auto const& name = section.columns[index];
    Column column{name, {}, !isRemark(name) && !isName(name)};
    auto const isNull = [&](auto const& row) { return row[index].is_null(); };
    // True without rows as well: an empty table has no header.
    if (std::all_of(section.rows.begin(), section.rows.end(), isNull))
        return column;
    auto const called = section.called.find(name);
    auto& heading = column.cells.emplace_back(called == section.called.end() ? name : called->second);
    std::transform(heading.begin(), heading.end(), heading.begin(),
                   [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
    if (isMark(name))
        heading.clear();
    for (auto const& row : section.rows) {
        auto const& cell = row[index];
        bool const isEmpty = isRemark(name) && cell.is_null();
        column.cells.push_back(isMark(name) ? (cell == Json(true) ? "=>" : "") : isEmpty ? "" : cellText(cell));
    }
    return column;
}

std::size_t widest(Column const& column)
{
    std::size_t most = 0;
    for (auto const& cell : column.cells)
        most = std::max(most, width(cell));
    return most;
}

/// The width of all columns when long cells are cut to `cell`.
std::size_t widthOf(Columns const& columns, std::size_t cell)
{
    std::size_t all = 0;
    for (auto const& column : columns)
        all += (all == 0 ? 0 : 2) + (column.mayBeCut ? std::min(widest(column), cell) : widest(column));
    return all;
}

/// Cuts cells until the columns fit.
void fit(Columns& columns, std::size_t width)
{
    auto cell = width;
    while (cell > narrowestCell && widthOf(columns, cell) > width)
        --cell;
    for (auto& column : columns) {
        for (auto& text : column.cells)
            text = column.mayBeCut ? cut(text, cell) : text;
    }
}

/// Says how the cell in a line of a column looks.
using Looks = std::function<Look(std::size_t line, Column const& column)>;

/// A line with a mark is good as a whole.
Looks tableLooks(Columns const& columns)
{
    auto const mark = std::ranges::find_if(columns, [](Column const& column) { return isMark(column.name); });
    auto const marks = mark == columns.end() ? std::vector<std::string>{} : mark->cells;
    return [marks](std::size_t line, Column const& column) {
        if (line == 0)
            return Look::Heading;
        if (!marks.empty() && !marks[line].empty())
            return Look::Good;
        return column.name == "result" ? lookOf(column.cells[line]) : Look::Plain;
    };
}

/// The lines of a table, each column as wide as its widest cell.
std::vector<std::string> aligned(Columns const& columns, Looks const& look)
{
    std::vector<std::string> lines(columns.empty() ? 0 : columns.front().cells.size());
    for (auto const& column : columns) {
        auto const& cells = column.cells;
        auto const wide = widest(column);
        for (std::size_t line = 0; line < lines.size(); ++line)
            lines[line] += dressed(cells[line], look(line, column)) + padded("", wide + 2 - width(cells[line]));
    }
    for (auto& line : lines)
        line = withoutTrailingBlanks(std::move(line));
    return lines;
}

Look plain(std::size_t, Column const&)
{
    return Look::Plain;
}

/// The reason first, then what would be accepted.
void writeRemarks(Columns const& remarks, std::size_t line, std::string const& indent, std::size_t width, std::ostream& out)
{
    std::for_each(remarks.rbegin(), remarks.rend(), [&](Column const& remark) {
        auto const& text = remark.cells[line];
        auto const label = remark.name == "accepted" ? remark.name + ": " : "";
        for (auto const& part : text.empty() ? std::vector<std::string>{} : wrapped(label + text, width - indent.size()))
            out << indent << part << '\n';
    });
}

/// What the rows share that stand together below it.
std::string headingOf(Section const& section, std::vector<Json> const& row)
{
    std::string heading;
    for (std::size_t column = 0; column < section.headings; ++column)
        heading += (column == 0 ? "" : "  ") + cellText(row[column]);
    return heading;
}

/// Those below the headings that have values, of the spare ones what there is room for.
Columns columnsOf(Section const& section, std::size_t indent, Room room)
{
    Columns columns;
    auto const cell = room.cuts ? widestCell : std::string::npos;
    for (auto index = section.headings; index < section.columns.size(); ++index) {
        auto column = columnOf(section, index);
        if (column.cells.empty())
            continue;
        columns.push_back(std::move(column));
        bool const isSpare = index >= section.columns.size() - section.spare;
        if (isSpare && (!room.isTerminal || widthOf(columns, cell) + indent > room.columns))
            columns.pop_back();
    }
    return columns;
}

void writeTable(Section const& section, std::ostream& out, Room room, bool coloured)
{
    std::string const indent(section.headings == 0 ? 0 : 2, ' ');
    auto columns = columnsOf(section, indent.size(), room);
    Columns remarks;
    auto const isBelow = [](Column const& column) { return isRemark(column.name); };
    if (widthOf(columns, widestCell) + indent.size() > room.columns && !std::ranges::all_of(columns, isBelow)) {
        std::ranges::copy_if(columns, std::back_inserter(remarks), isBelow);
        std::erase_if(columns, isBelow);
    }
    if (room.cuts)
        fit(columns, room.columns - indent.size());
    auto const lines = aligned(columns, coloured ? tableLooks(columns) : plain);
    std::string last;
    for (std::size_t line = 0; line < lines.size(); ++line) {
        auto const heading = line == 0 ? "" : headingOf(section, section.rows[line - 1]);
        if (heading != last)
            out << heading << '\n';
        last = heading;
        out << indent << lines[line] << '\n';
        if (line != 0)
            writeRemarks(remarks, line, indent + "    ", room.columns, out);
    }
}

void writeBeside(Section const& section, std::ostream& out, Room room)
{
    Columns beside{{"", section.columns, false}};
    for (auto const& row : section.rows) {
        auto& column = beside.emplace_back(Column{"", {}, true});
        std::transform(row.begin(), row.end(), std::back_inserter(column.cells), cellText);
    }
    if (room.cuts)
        fit(beside, room.columns);
    for (auto const& line : aligned(beside, plain))
        out << line << '\n';
}

/// A value stands on one line, however long; what is said about it does not.
void writePairs(Section const& section, std::ostream& out, std::size_t width)
{
    std::size_t widestName = 0;
    for (auto const& column : section.columns)
        widestName = std::max(widestName, Tool::width(column));
    auto const indent = widestName + 2;
    for (auto const& row : section.rows) {
        for (std::size_t column = 0; column < row.size(); ++column) {
            if (row[column].is_null())
                continue;
            auto const& name = section.columns[column];
            auto const said = section.said.find(name);
            auto const text = said == section.said.end() ? cellText(row[column]) : said->second;
            auto lead = padded(name + ":", indent);
            for (auto const& line :
                 name == "value" ? std::vector{text} : wrapped(text, std::max(width, indent + narrowestCell) - indent)) {
                out << lead << line << '\n';
                lead.assign(indent, ' ');
            }
        }
    }
}

std::string rawText(Json const& cell)
{
    return cell.is_string() ? cell.get<std::string>() : cellText(cell);
}

/// A single value as it is for others to read, and harmless at a terminal.
void writeValues(Section const& section, std::ostream& out, bool toTerminal)
{
    if (section.rows.size() == 1) {
        auto const text = rawText(section.rows.front().back());
        out << (toTerminal ? escaped(text) : text) << '\n';
        return;
    }
    for (auto const& row : section.rows)
        out << cellText(row.front()) << " = " << cellText(row.back()) << '\n';
}

} // namespace

void renderText(Report const& report, Console& console)
{
    auto& out = console.out;
    auto& err = console.err;
    auto const title = dressed("mediadata:", console.colourErr ? Look::Bad : Look::Plain);
    Room const room{console.columns, console.outIsTerminal, console.outIsTerminal && !console.showsAll};
    for (auto const& section : report.sections) {
        if (!section.brief.empty()) {
            out << escaped(section.brief, "\n") << '\n';
            continue;
        }
        if (!section.title.empty())
            out << escaped(section.title, "\n") << '\n';
        switch (section.layout) {
        case Layout::Table:
            writeTable(section, out, room, console.colourOut);
            if (section.rows.empty() && !section.title.empty())
                out << "  nothing\n";
            break;
        case Layout::Beside:
            writeBeside(section, out, room);
            break;
        case Layout::Pairs:
            writePairs(section, out, room.columns);
            break;
        case Layout::Values:
            writeValues(section, out, console.outIsTerminal);
            break;
        case Layout::Text: {
            auto const& text = section.rows.front().front().get_ref<std::string const&>();
            out << (console.outIsTerminal ? escaped(text, "\n\t") : text);
            break;
        }
        }
    }
    for (auto const& note : report.notes)
        out << escaped(note, "\n") << '\n';
    out.flush();
    for (auto const& problem : report.problems) {
        err << title << ' ' << (problem.item.empty() ? "" : escaped(problem.item) + ": ") << escaped(problem.reason) << '\n';
        for (auto const& suggestion : problem.suggestions)
            err << "  did you mean  " << escaped(suggestion) << '\n';
    }
    err.flush();
}

} // namespace Tool
