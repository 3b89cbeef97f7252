// Gathers the rows of a table and checks each: see the header for how a table is replaced whole.
#include "store/TableWrite.h"

#include "XmlParser.h"

#include <algorithm>
#include <array>
#include <string_view>

namespace Host {

namespace {

struct TableSize {
    std::string_view schema;
    std::size_t rows;
};

constexpr std::string_view ringing = "DistinctiveRinging";
constexpr std::array<TableSize, 4> tableSizes{
    {{"CodecSettings", 4}, {"SRTPEncryptionSettings", 5}, {"HeadsetPriorities", 3}, {ringing, 15}}};

std::size_t rowsOf(std::string_view schema)
{
    auto const found =
        std::find_if(tableSizes.begin(), tableSizes.end(), [&](TableSize const& each) { return each.schema == schema; });
    return found != tableSizes.end() ? found->rows : 0;
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

/// A ringing row says which it is. Its identifier is free text, which may break the row into two that are each well-formed;
/// then counting alone would lose the last row and call that success.
bool standsAt(std::size_t position, std::string const& entry)
{
    constexpr std::string_view open = "<DistinctiveRingerIndex>";
    return entry.find(std::string(open) + std::to_string(position) + "</") != std::string::npos;
}

} // namespace

TableWrite::TableWrite(std::string schema) : m_schema(std::move(schema)), m_rows(rowsOf(m_schema)) {}

void TableWrite::abandon()
{
    m_received = 0;
    m_spoiled = false;
    m_text.clear();
}

TableWrite::Result TableWrite::add(std::string const& fragment, std::string& table)
{
    if (m_rows == 0)
        return Result::refused;
    if (LockMark const now = lockMark(); now != m_mark) {
        abandon();
        m_mark = now;
    }
    Result result = Result::dropped;
    if (!m_spoiled) {
        std::string const entry = entryOf(fragment);
        m_spoiled = entry.empty() || (m_schema == ringing && !standsAt(m_received, entry));
        m_text += entry;
        result = m_spoiled ? Result::refused : Result::gathered;
    }
    if (++m_received < m_rows)
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
