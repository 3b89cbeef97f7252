// The codec table: its data, its check and its default text.
#include "DataSourceDBTables/DataTableCodecSetting.h"

#include "ClientUtils.h"
#include "Data/RankedTables.h"
#include "DataItemBuilder/NameTable.h"
#include "DataSourceDBTables/TableCells.h"
#include "Log.h"

#include <algorithm>
#include <array>

namespace Data {

using CodecTable = DataSourceDB::DataTableHandler::DataTableCodecSetting;

namespace {

constexpr char const* unit = "./src/DataSourceDBTables";
constexpr int rows = 4;

// The rank that is written is the row's place: rows are in the order of their ranks.
constexpr std::array columns{
    XmlColumn{addressOf(Name::dasCodecType), eDataTagCodecType1},
    XmlColumn{addressOf(Name::dasCodecRank), eDataTagCodecRank1, CellForm::rowRank},
    XmlColumn{addressOf(Name::dasCodecAllowed), eDataTagCodecAllowed1},
    XmlColumn{addressOf(Name::dasCodecPacketSize), eDataTagCodecPacketSize1},
};

constexpr RankedTableData codecTable{
    .table = eDataTagCodecSettings,
    .firstFlag = eDataTagCodecHardwareAllowed0,
    .rows = rows,
    .layout = {.schema = addressOf(Name::dasCodecSettingsSchema), .columns = columns, .entryBeginsRow = true},
    .sort = Utils::sortCodecsByRank,
    .className = "DataTableCodecSetting",
    .kind = "codec",
    .choice = "type",
    .notIndexed = "DataTableCodecSetting::tableItemsToXml - ERR codec setting table doesn't have properly indexed items?",
};

constexpr char const* defaultText =
    "<Schema>"
    "<Entry><CodecType>3</CodecType><CodecRank>1</CodecRank><CodecAllowed>true</CodecAllowed>"
    "<CodecPacketSize>2</CodecPacketSize></Entry>"
    "<Entry><CodecType>0</CodecType><CodecRank>2</CodecRank><CodecAllowed>true</CodecAllowed>"
    "<CodecPacketSize>2</CodecPacketSize></Entry>"
    "<Entry><CodecType>2</CodecType><CodecRank>3</CodecRank><CodecAllowed>true</CodecAllowed>"
    "<CodecPacketSize>2</CodecPacketSize></Entry>"
    "<Entry><CodecType>1</CodecType><CodecRank>4</CodecRank><CodecAllowed>false</CodecAllowed>"
    "<CodecPacketSize>2</CodecPacketSize></Entry>"
    "</Schema>";

/// A column's numbers, when each lies in minimum..maximum.
bool readColumn(DataTagValue_t const& values, eDataTag column, int minimum, int maximum, std::array<int, rows>& numbers)
{
    for (int row = 0; row < rows; ++row) {
        int const number = ClientUtils::stoi(cellText(values, cellTag(column, row)));
        if (number < minimum || number > maximum)
            return false;
        numbers[static_cast<std::size_t>(row)] = number;
    }
    return true;
}

bool allDifferent(std::array<int, rows> numbers)
{
    std::sort(numbers.begin(), numbers.end());
    return std::adjacent_find(numbers.begin(), numbers.end()) == numbers.end();
}

bool isTrue(DataTagValue_t const& values, eDataTag column, int row)
{
    return ClientUtils::stob(cellText(values, cellTag(column, row)));
}

bool anyTypeUsable(DataTagValue_t const& values, std::array<int, rows> const& types)
{
    for (int row = 0; row < rows; ++row)
        if (isTrue(values, eDataTagCodecAllowed1, row) &&
            isTrue(values, eDataTagCodecHardwareAllowed0, types[static_cast<std::size_t>(row)]))
            return true;
    return false;
}

} // namespace

bool isCodecTableValid(DataTagValue_t const& values)
{
    std::array<int, rows> types{};
    std::array<int, rows> sizes{};
    std::array<int, rows> ranks{};
    // A missing cell reads as 0, which is a type: without any cells there would be one.
    return values.contains(eDataTagCodecType1) && readColumn(values, eDataTagCodecType1, 0, 3, types) &&
           allDifferent(types) && anyTypeUsable(values, types) &&
           readColumn(values, eDataTagCodecPacketSize1, 0, 5, sizes) &&
           readColumn(values, eDataTagCodecRank1, 1, 4, ranks) && allDifferent(ranks);
}

CodecTable::DataTableCodecSetting() : RankedTable(codecTable) {}

void CodecTable::xmlToTableItems(DataTagValue_t& values, bool clearFiles)
{
    RankedTable::xmlToTableItems(values, clearFiles);
    if (!values.contains(m_firstTag) || isCodecTableValid(values))
        return;
    LOG_ERROR(unit, "DataTableCodecSetting::xmlToTableItems - ERR loading codec setting table, setting up default values");
    values[m_firstTag] = defaultText;
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
