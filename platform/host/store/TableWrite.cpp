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

constexpr std::size_t maximumLength = std::size_t{1024} * 1024;
constexpr int maximumDepth = 16;

/// Where a row says which it is: its identifier is free text, which may break the row into two that are each well-formed;
/// then counting alone would lose the last row and call that success.
bool standsAt(std::size_t position, std::string_view number, std::string const& fragment)
{
    if (number.empty())
        return true;
    std::string mark = "<";
    mark.append(number).append(">").append(std::to_string(position)).append("</");
    return fragment.find(mark) != std::string::npos;
}

/// Nothing in the text but elements without attributes, each with a start and an end tag, and characters.
bool hasPlainTags(std::string_view text)
{
    return text.find_first_of("!?=") == std::string_view::npos && text.find("/>") == std::string_view::npos;
}

/// The text up to the next tag, taken from the front.
std::string_view takeCharacters(std::string_view& rest)
{
    auto const characters = rest.substr(0, rest.find('<'));
    rest.remove_prefix(characters.size());
    return characters;
}

bool arePlain(std::string_view characters)
{
    return std::ranges::all_of(characters,
                               [](char each) { return each >= ' ' && each <= '~' && each != '&' && each != '>'; });
}

/// Whether `row` is `known` with other characters behind start tags, where any are allowed: as well-formed as that is, which has
/// plain tags.
bool differsInCharactersOnly(std::string_view known, std::string_view row)
{
    for (auto end = known.find('>'); end != std::string_view::npos; end = known.find('>')) {
        auto const tag = known.substr(0, end + 1);
        if (!row.starts_with(tag))
            return false;
        known.remove_prefix(tag.size());
        row.remove_prefix(tag.size());
        if (!tag.starts_with('<') || tag.starts_with("</"))
            continue;
        auto const old = takeCharacters(known);
        auto const characters = takeCharacters(row);
        if (characters != old && !arePlain(characters))
            return false;
    }
    return known == row;
}

} // namespace

/// Tells whether a fragment is one row. A reader takes a table in again as a whole, which is not parsed here: rows that are each
/// well-formed make a table that is, when each has room for the elements around it and is none but in the midst of a text.
class TableWrite::RowCheck {
public:
    enum class Result { refused, withEntry, withoutEntry };

    Result check(std::string const& fragment)
    {
        if (!m_known.empty() && fragment.size() < maximumLength && differsInCharactersOnly(m_known, fragment))
            return m_knownResult;
        Result const result = parse(fragment);
        if (result != Result::refused && hasPlainTags(fragment)) {
            m_known = fragment;
            m_knownResult = result;
        }
        return result;
    }

private:
    Result parse(std::string const& fragment)
    {
        m_depth = m_deepest = m_topElements = m_topEntries = m_inner = 0;
        // Behind a blank neither an XML declaration nor a byte order mark is one.
        std::string const text = " " + fragment;
        if (text.size() > maximumLength || !m_parser.parseMessage(text.data(), static_cast<int>(text.size())))
            return Result::refused;
        // One element "Entry" with content is the row itself, everything else is what stands inside a row.
        bool const hasEntry = m_topEntries > 0;
        if (m_deepest + (hasEntry ? 1 : 2) > maximumDepth)
            return Result::refused;
        if (!hasEntry)
            return Result::withoutEntry;
        return m_topElements == 1 && m_inner > 0 ? Result::withEntry : Result::refused;
    }

    static void onStart(void* self, char const* name, char const** /*attributes*/)
    {
        RowCheck& my = *static_cast<RowCheck*>(self);
        my.m_deepest = std::max(my.m_deepest, ++my.m_depth);
        if (my.m_depth > 1) {
            ++my.m_inner;
            return;
        }
        ++my.m_topElements;
        my.m_topEntries += std::string_view(name) == "Entry" ? 1 : 0;
    }
    static void onEnd(void* self, char const* /*name*/) { --static_cast<RowCheck*>(self)->m_depth; }
    static void onText(void* /*self*/, char const* /*text*/, int /*length*/) {}

    XmlParser m_parser{this, onStart, onEnd, onText};
    int m_depth = 0;
    int m_deepest = 0;
    int m_topElements = 0;
    int m_topEntries = 0;
    int m_inner = 0;
    std::string m_known; ///< a row that was parsed and has plain tags; rows that are like it need not be parsed
    Result m_knownResult = Result::refused;
};

TableWrite::TableWrite(std::string schema) : m_schema(std::move(schema)), m_shape(shapeOf(m_schema)) {}

TableWrite::~TableWrite() = default;

void TableWrite::abandon()
{
    m_received = 0;
    m_spoiled = false;
    m_text = {};
    m_check.reset();
}

bool TableWrite::append(std::string const& fragment)
{
    if (!m_check)
        m_check = std::make_unique<RowCheck>();
    auto const result = m_check->check(fragment);
    if (result == RowCheck::Result::refused || !standsAt(m_received, m_shape.number, fragment))
        return false;
    bool const hasEntry = result == RowCheck::Result::withEntry;
    m_text.append(hasEntry ? "" : "<Entry>").append(fragment).append(hasEntry ? "" : "</Entry>");
    return true;
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
        m_spoiled = !append(fragment);
        result = m_spoiled ? Result::refused : Result::gathered;
    }
    if (++m_received < m_shape.rows)
        return result;
    if (!m_spoiled) {
        table = "<Schema name=\"" + m_schema + "\">" + m_text + "</Schema>";
        result = table.size() <= maximumLength ? Result::complete : Result::refused;
    }
    abandon();
    return result;
}

} // namespace Host
