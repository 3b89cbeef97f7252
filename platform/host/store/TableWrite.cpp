// Gathers the rows of a table and checks each: see the header for how a table is replaced whole.
#include "store/TableWrite.h"

#include "XmlParser.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace Host {

namespace {

constexpr std::array shapes{
#define TABLE_RANKED(name, shortName, schema, rows) TableShape{schema, rows, ""},
#define TABLE_NUMBERED(name, shortName, schema, rows, number, element) TableShape{schema, rows, element},
#include "Data/tables.def"
};

constexpr TableShape noTable{"", 0, ""};

TableShape const& shapeOf(std::string const& schema)
{
    auto const* const found = std::ranges::find(shapes, schema, &TableShape::schema);
    return found != shapes.end() ? *found : noTable;
}

/// What a well-formed text consists of.
struct Shape {
    int depth = 0;
    int topElements = 0;
    int topEntries = 0;
    int inner = 0;
};

bool parse(std::string const& text, Shape& shape)
{
    auto const start = [](void* data, char const* name, char const**) {
        Shape& my = *static_cast<Shape*>(data);
        if (my.depth++ > 0) {
            ++my.inner;
            return;
        }
        ++my.topElements;
        my.topEntries += std::string_view(name) == "Entry" ? 1 : 0;
    };
    auto const end = [](void* data, char const*) { --static_cast<Shape*>(data)->depth; };
    auto const data = [](void*, char const*, int) {};
    constexpr std::size_t limit = std::size_t{1024} * 1024;
    return text.size() <= limit &&
           XmlParser(&shape, start, end, data).parseMessage(text.data(), static_cast<int>(text.size()));
}

/// The row with its "Entry" around it; empty when the fragment is not one row.
std::string entryOf(std::string const& fragment)
{
    Shape plain;
    if (!parse(fragment, plain))
        return "";
    // One element "Entry" with content is the row itself, everything else is what stands inside a row.
    std::string entry = plain.topEntries > 0 ? fragment : "<Entry>" + fragment + "</Entry>";
    Shape shape;
    return parse(entry, shape) && shape.topElements == 1 && shape.inner > 0 ? entry : "";
}

/// Where a row says which it is: its identifier is free text, which may break the row into two that are each well-formed;
/// then counting alone would lose the last row and call that success.
bool standsAt(std::size_t position, std::string_view number, std::string const& entry)
{
    return number.empty() ||
           entry.find("<" + std::string(number) + ">" + std::to_string(position) + "</") != std::string::npos;
}

} // namespace

TableWrite::TableWrite(std::string schema) : m_schema(std::move(schema)), m_shape(shapeOf(m_schema)) {}

void TableWrite::abandon()
{
    m_received = 0;
    m_spoiled = false;
    m_text.clear();
}

TableWrite::Result TableWrite::add(std::string const& fragment, std::string& table)
{
    if (m_shape.rows == 0)
        return Result::refused;
    if (LockMark const now = lockMark(); now != m_mark) {
        abandon();
        m_mark = now;
    }
    Result result = Result::dropped;
    if (!m_spoiled) {
        std::string const entry = entryOf(fragment);
        m_spoiled = entry.empty() || !standsAt(m_received, m_shape.number, entry);
        m_text += entry;
        result = m_spoiled ? Result::refused : Result::gathered;
    }
    if (++m_received < m_shape.rows)
        return result;
    if (!m_spoiled) {
        table = "<Schema name=\"" + m_schema + "\">" + m_text + "</Schema>";
        // What a reader could not take in again as a whole must not replace what can be read.
        Shape whole;
        result = parse(table, whole) ? Result::complete : Result::refused;
    }
    abandon();
    return result;
}

} // namespace Host
