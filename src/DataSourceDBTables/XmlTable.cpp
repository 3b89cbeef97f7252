// Parsing and writing of the tables that the database keeps as XML text.
#include "Data/XmlTable.h"

#include "ClientUtils.h"
#include "Data/DataNames.h"
#include "Tables/Tables.h"
#include "XmlParser.h"

#include <algorithm>
#include <cstdio>
#include <initializer_list>
#include <string_view>

namespace Data {

namespace {

using namespace std::string_view_literals;

void append(std::string& xml, std::initializer_list<std::string_view> parts)
{
    for (auto const part : parts)
        xml.append(part);
}

void appendElement(std::string& xml, std::string_view name, std::string_view text)
{
    append(xml, {"<"sv, name, ">"sv, text, "</"sv, name, ">"sv});
}

std::string escaped(std::string_view text)
{
    std::string result;
    for (char const character : text) {
        switch (character) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        default:
            result += character;
        }
    }
    return result;
}

} // namespace

XmlTable::XmlTable(Tables::Table const& table) : DataTable(table.tag, table.last), m_table(table) {}

XmlTable::~XmlTable() = default;

void XmlTable::XMLStart(void* table, char const* name, char const** /*attributes*/)
{
    static_cast<XmlTable*>(table)->startElement(name);
}

void XmlTable::XMLEnd(void* /*table*/, char const* /*name*/) {}

void XmlTable::XMLDataHandler(void* table, char const* text, int length)
{
    static_cast<XmlTable*>(table)->takeText(std::string(text, static_cast<std::size_t>(length)));
}

void XmlTable::startElement(std::string const& name)
{
    m_currentElement = name;
    if (m_table.number.empty() && name == dasTableEntry)
        ++m_rowIndex;
}

void XmlTable::takeText(std::string const& text)
{
    if (m_target == nullptr)
        return;
    if (!m_table.number.empty() && m_currentElement == m_table.number) {
        // An element without text names no row, although it would read as 0.
        m_rowIndex = text.empty() ? -1 : ClientUtils::stoi(text);
        return;
    }
    if (m_rowIndex < 0 || m_rowIndex > lastRow())
        return;
    auto const column = std::ranges::find_if(m_table.columns, [this](Tables::Column const& each) {
        return each.form != Tables::Form::none && m_currentElement == each.element;
    });
    if (column == m_table.columns.end())
        return;
    auto const cell = m_target->find(m_table.cell(column->first, m_rowIndex));
    if (cell != m_target->end())
        cell->second = text;
}

int XmlTable::lastRow() const
{
    return m_table.kind == Tables::Kind::numbered ? m_table.rows - 1 : m_indexMax;
}

void XmlTable::aimAt(DataTagValue_t* target)
{
    m_target = target;
    m_currentElement.clear();
    m_rowIndex = -1;
}

void XmlTable::parse(DataTagValue_t& values)
{
    // A copy: the parse writes into the map that holds the text.
    std::string const text = Tables::cellText(values, m_firstTag);
    aimAt(&values);
    XmlParser parser(this, XMLStart, XMLEnd, XMLDataHandler);
    // A text that breaks off has filled the cells up to there; the table's check decides what becomes of them.
    parser.parseMessage(text.c_str(), static_cast<int>(text.size()));
    aimAt(nullptr);
}

bool XmlTable::appendCell(std::string& xml, Tables::Column const& column, int row, DataTagValue_t const& values) const
{
    if (column.form == Tables::Form::place) {
        appendElement(xml, column.element, ClientUtils::itos(row + 1));
        return true;
    }
    eDataTag const tag = m_table.cell(column.first, row);
    auto const cell = values.find(tag);
    if (cell == values.end()) {
        std::printf("; ERR missing tag %d for table writing\n", int{tag});
        std::fflush(stdout);
        return false;
    }
    appendElement(xml, column.element, column.form == Tables::Form::escaped ? escaped(cell->second) : cell->second);
    return true;
}

bool XmlTable::appendRows(std::string& xml, DataTagValue_t const& values, int rows) const
{
    for (int row = 0; row < rows; ++row) {
        append(xml, {"<"sv, dasTableEntry, ">"sv});
        if (!m_table.number.empty())
            appendElement(xml, m_table.number, ClientUtils::itos(row));
        for (Tables::Column const& column : m_table.columns)
            if (column.form != Tables::Form::none && !appendCell(xml, column, row, values))
                return false;
        append(xml, {"</"sv, dasTableEntry, ">"sv});
    }
    return true;
}

bool XmlTable::buildText(DataTagValue_t& values) const
{
    bool const standsAlone = m_table.kind == Tables::Kind::numbered;
    std::string xml;
    if (!standsAlone)
        append(xml, {"<Schema name=\""sv, m_table.schema, "\">"sv});
    if (!appendRows(xml, values, lastRow() + 1))
        return false;
    if (!standsAlone)
        xml += "</Schema>";
    values[m_firstTag] = std::move(xml);
    return true;
}

void XmlTable::moveText(DataTagValue_t& values, DataTagValue_t& toStore) const
{
    toStore[m_firstTag] = std::move(values[m_firstTag]);
    values.erase(m_firstTag);
}

} // namespace Data
