// Rows are sorted once, when the last one is there: comparing hashes costs less than keeping them in order meanwhile.
#include "store/ReadAhead.h"

#include <algorithm>
#include <functional>

namespace Host {

namespace {

constexpr std::size_t mappedSize = std::size_t{256} * 1024;

/// Few elements have a name that another schema has, too; whole tables have none.
std::size_t hashOf(std::string_view schema, std::string_view element)
{
    return std::hash<std::string_view>()(element.empty() ? schema : element);
}

} // namespace

ReadAhead::ReadAhead()
{
    m_texts.reserve(mappedSize);
    m_rows.reserve(mappedSize / sizeof(Row));
}

void ReadAhead::add(std::string_view schema, std::string_view element, std::string_view value)
{
    m_rows.push_back({hashOf(schema, element), static_cast<std::uint32_t>(m_texts.size()),
                      static_cast<std::uint32_t>(schema.size()), static_cast<std::uint32_t>(element.size()),
                      static_cast<std::uint32_t>(value.size())});
    m_texts.append(schema).append(element).append(value);
}

void ReadAhead::close(bool complete)
{
    std::sort(m_rows.begin(), m_rows.end(), [](Row const& left, Row const& right) { return left.hash < right.hash; });
    m_complete = complete;
}

ReadAhead::Result ReadAhead::find(std::string_view schema, std::string_view element, std::string& value)
{
    std::string_view const texts = m_texts;
    std::size_t const hash = hashOf(schema, element);
    auto const isOther = [&](Row const& each) {
        return texts.substr(each.begin, each.schemaSize) != schema ||
               texts.substr(each.begin + each.schemaSize, each.elementSize) != element;
    };
    auto row = std::lower_bound(m_rows.begin(), m_rows.end(), hash,
                                [](Row const& each, std::size_t wanted) { return each.hash < wanted; });
    while (row != m_rows.end() && row->hash == hash && isOther(*row))
        ++row;
    if (row == m_rows.end() || row->hash != hash)
        return m_complete ? Result::absent : Result::unknown;
    value = texts.substr(row->begin + row->schemaSize + row->elementSize, row->valueSize);
    if (++m_found == m_rows.size()) {
        m_complete = false;
        std::string().swap(m_texts);
        std::vector<Row>().swap(m_rows);
    }
    return Result::found;
}

} // namespace Host
