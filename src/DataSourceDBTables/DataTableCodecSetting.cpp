// The codec table: its words, its check and its default text.
#include "Data/DataTableCodecSetting.h"

#include "ClientUtils.h"
#include "Data/DataItemBuilder.h"
#include "Data/RankedTables.h"
#include "Log.h"
#include "Tables/Rules.h"
#include "Tables/Tables.h"

#include <algorithm>
#include <array>

namespace Data {

using CodecTable = DataSourceDB::DataTableHandler::DataTableCodecSetting;

namespace {

constexpr char const* unit = "./src/DataSourceDBTables";
using Tables::cellText;
using Tables::codecs;
using Tables::Role;
using Numbers = std::array<int, static_cast<std::size_t>(codecs.rows)>;

constexpr RankedTableWords words{
    .className = "DataTableCodecSetting",
    .kind = "codec",
    .choice = "type",
    .notIndexed = "DataTableCodecSetting::tableItemsToXml - ERR codec setting table doesn't have properly indexed items?",
};

/// The numbers of a column, when each is in its range.
bool readColumn(DataTagValue_t const& values, eDataTag first, Numbers& numbers)
{
    Tables::Column const& column = *codecs.find(first);
    for (int row = 0; row < codecs.rows; ++row) {
        int const number = ClientUtils::stoi(cellText(values, codecs.cell(first, row)));
        if (number < column.minimum || number > column.maximum)
            return false;
        numbers[static_cast<std::size_t>(row)] = number;
    }
    return true;
}

bool allDifferent(Numbers const& numbers)
{
    return std::ranges::all_of(numbers, [&](int number) { return std::ranges::count(numbers, number) == 1; });
}

bool anyTypeUsable(DataTagValue_t const& values, Numbers const& types)
{
    for (int row = 0; row < codecs.rows; ++row) {
        eDataTag const flag = Tables::hardwareFlagOf(codecs, row, types[static_cast<std::size_t>(row)]);
        if (ClientUtils::stob(cellText(values, codecs.cell(codecs.column(Role::allowed), row))) &&
            ClientUtils::stob(cellText(values, flag)))
            return true;
    }
    return false;
}

} // namespace

bool isCodecTableValid(DataTagValue_t& values)
{
    Numbers types{};
    Numbers sizes{};
    Numbers ranks{};
    // A missing cell reads as 0, which is a type: without any cells there would be one.
    return values.contains(eDataTagCodecType1) && readColumn(values, eDataTagCodecType1, types) && allDifferent(types) &&
           anyTypeUsable(values, types) && readColumn(values, eDataTagCodecPacketSize1, sizes) &&
           readColumn(values, eDataTagCodecRank1, ranks) && allDifferent(ranks);
}

CodecTable::DataTableCodecSetting() : RankedTable(codecs, words, Utils::sortCodecsByRank) {}

std::string CodecTable::defaultText()
{
    DataTagValue_t cells;
    getTableItemTags(cells);
    DataCache::DataItemBuilder::getDefaultValues(cells, eDataComponentNone, false);
    std::string xml = "<Schema>";
    appendRows(xml, cells, codecs.rows); // all of them, whatever the table was told of its highest row
    return xml + "</Schema>";
}

void CodecTable::xmlToTableItems(DataTagValue_t& values, bool clearFiles)
{
    RankedTable::xmlToTableItems(values, clearFiles);
    if (!values.contains(m_firstTag) || isCodecTableValid(values))
        return;
    LOG_ERROR(unit, "DataTableCodecSetting::xmlToTableItems - ERR loading codec setting table, setting up default values");
    values[m_firstTag] = defaultText();
    parse(values);
}

int CodecTable::checkTableData(DataTagValue_t& values, DataTagValue_t& toStore)
{
    bool const valid = isCodecTableValid(values);
    if (valid) {
        tableItemsToXml(values);
    } else {
        LOG_ERROR(unit,
                  "DataSourceDB::DataTableHandler::DataTableCodecSetting::checkTableData -> ocms set failed, restoring "
                  "previous values");
        xmlToTableItems(values, false);
    }
    moveText(values, toStore);
    return valid ? eTableValid : eTableRejected;
}

} // namespace Data
