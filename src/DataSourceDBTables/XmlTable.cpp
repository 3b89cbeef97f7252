// Parsing and writing of the tables that the database keeps as XML text.
#include "DataSourceDBTables/XmlTable.h"

#include "ClientUtils.h"
#include "Data/DataNames.h"
#include "DataSourceDBTables/TableCells.h"
#include "XmlParser.h"

#include <algorithm>
#include <iostream>

namespace Data {

namespace {

std::string escaped(std::string const& text)
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

void appendElement(std::string& xml, std::string const& name, std::string const& text)
{
    xml += "<" + name + ">" + text + "</" + name + ">";
}

/// Appends one cell's element; false when the map lacks the cell.
bool appendCell(std::string& xml, XmlColumn const& column, int row, DataTagValue_t const& values)
{
    if (column.form == CellForm::rowIndex || column.form == CellForm::rowRank) {
        appendElement(xml, *column.element, ClientUtils::itos(column.form == CellForm::rowRank ? row + 1 : row));
        return true;
    }
    auto const cell = values.find(cellTag(column.firstCell, row));
    if (cell == values.end()) {
        std::cout << "; ERR missing tag " << int{cellTag(column.firstCell, row)} << " for table writing\n" << std::flush;
        return false;
    }
    appendElement(xml, *column.element, column.form == CellForm::escaped ? escaped(cell->second) : cell->second);
    return true;
}

} // namespace

XmlTable::XmlTable(eDataTag firstTag, eDataTag lastTag, XmlLayout const& layout)
    : DataTable(firstTag, lastTag), m_layout(layout)
{}

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
    if (m_layout.entryBeginsRow && name == dasTableEntry)
        ++m_rowIndex;
}

void XmlTable::takeText(std::string const& text)
{
    auto const column = std::find_if(m_layout.columns.begin(), m_layout.columns.end(),
                                     [this](XmlColumn const& candidate) { return *candidate.element == m_currentElement; });
    if (column == m_layout.columns.end() || m_target == nullptr)
        return;
    if (column->form == CellForm::rowIndex) {
        m_rowIndex = ClientUtils::stoi(text);
        return;
    }
    if (m_rowIndex < 0 || m_rowIndex > m_indexMax)
        return;
    auto const cell = m_target->find(cellTag(column->firstCell, m_rowIndex));
    if (cell != m_target->end())
        cell->second = text;
}

void XmlTable::parse(DataTagValue_t& values)
{
    // A copy: the parse writes into the map that holds the text.
    std::string const text = cellText(values, m_firstTag);
    m_target = &values;
    XmlParser parser(this, XMLStart, XMLEnd, XMLDataHandler);
    // A text that breaks off has filled the cells up to there; the table's check decides what becomes of them.
    parser.parseMessage(text.c_str(), static_cast<int>(text.size()));
    m_target = nullptr;
    m_currentElement.clear();
    m_rowIndex = -1;
}

bool XmlTable::buildText(DataTagValue_t& values) const
{
    std::string xml = m_layout.schema == nullptr ? "" : "<Schema name=\"" + *m_layout.schema + "\">";
    for (int row = 0; row <= m_indexMax; ++row) {
        xml += "<" + dasTableEntry + ">";
        for (XmlColumn const& column : m_layout.columns)
            if (!appendCell(xml, column, row, values))
                return false;
        xml += "</" + dasTableEntry + ">";
    }
    if (m_layout.schema != nullptr)
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
