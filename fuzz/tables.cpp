// Table texts as a database may hold them, through the table handler: read, written, and read again. The first character of an
// input chooses the table, the second the row that the hardware does not allow, the rest is the text.
#include "../tests/library/TablesTest.h"
#include "Fuzz.h"

#include "Data/RankedTables.h"

#include "ClientUtils.h"

#include <utility>

using namespace Data;

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    struct Table {
        eDataTag table, firstCell, lastCell, firstFlag;
        void (*order)(DataTagValue_t& cells); // as the next start finds them: ranks that no row has can leave rows unsorted
    };
    constexpr auto asTheyAre = [](DataTagValue_t&) {};
    constexpr auto asRanked = [](DataTagValue_t& cells) { // codecs are written in the order of their rows
        for (int row = 0; row < 4; ++row)
            cells[static_cast<eDataTag>(eDataTagCodecRank1 + row)] = ClientUtils::itos(row + 1);
    };
    constexpr Table tables[]{
        {eDataTagCodecSettings, eDataTagCodecType1, eDataTagCodecHardwareAllowed3, eDataTagCodecHardwareAllowed0, asRanked},
        {eDataTagSRTPEncryptionSettings, eDataTagSRTPEncryptionMethod1, eDataTagSRTPEncryptionHardwareAllowed5,
         eDataTagSRTPEncryptionHardwareAllowed1, [](auto& cells) { Utils::sortSRTPEncryptionsByRank(cells, 5); }},
        {eDataTagHeadsetPriorities, eDataTagHeadsetType1, eDataTagHeadsetHardwareAllowed3, eDataTagHeadsetHardwareAllowed1,
         [](auto& cells) { Utils::sortHeadsetsByRank(cells, 3); }},
        {eDataTagDistinctiveRinging, eDataTagAlertIdentifier0, eDataTagRingerFile14, eDataTagNone, asTheyAre}};
    [[maybe_unused]] static bool const prepared = Fuzz::prepare();
    static Scripted::Platform platform;
    static CellStore const defaults;
    static CellStore store;
    static DataSourceDB::DataTableHandler handler({tables[0].table, tables[1].table, tables[2].table, tables[3].table},
                                                  &store);
    // As in the cache, a cell is a value of its type.
    store.onSet = [] {
        for (auto const& [tag, text] : store.sets.back().values)
            if (auto const type = DataCache::DataItemBuilder::dataItemDefaultTable[tag].value.type; type == eDataItemTypeInt)
                store.cells[tag] = ClientUtils::itos(ClientUtils::stoi(text));
            else if (type == eDataItemTypeBool)
                store.cells[tag] = ClientUtils::stob(text) ? "true" : "false";
    };
    if (size < 2)
        return 0;

    Table const my = tables[data[0] % std::size(tables)];
    auto const read = [&](std::string text, DataTagValue_t given) {
        for (auto const& set : std::exchange(store.sets, {}))
            for (auto const& [tag, ignored] : set.values)
                store.cells[tag] = defaults.cells.at(tag);
        store.userTables = {my.table};
        given[my.table] = std::move(text);
        store.dbCBSetDataValues(given, false, false);
        handler.readDataFromTables(true);
        return DataTagValue_t(store.cells.lower_bound(my.firstCell), store.cells.upper_bound(my.lastCell));
    };
    DataTagValue_t flags;
    if (auto const flag = static_cast<eDataTag>(my.firstFlag + data[1] % 8);
        my.firstFlag != eDataTagNone && flag <= my.lastCell)
        flags[flag] = "false";
    DataTagValue_t cells = read(std::string(reinterpret_cast<char const*>(data) + 2, size - 2), flags);
    if (my.firstFlag != eDataTagNone) // they travel with their rows
        flags = {cells.lower_bound(my.firstFlag), cells.end()};
    DataTagValue_t rejected;
    handler.setTableChanged(my.table);
    EXPECT_TRUE(handler.writeTablesToDB(rejected)) << "what was read can be written";
    EXPECT_EQ(DataTagValue_t(store.cells.lower_bound(my.firstCell), store.cells.upper_bound(my.lastCell)), cells);
    my.order(cells);
    for (auto const& [tag, text] : read(store.cells[my.table], flags))
        // A carriage return is not escaped, and an empty cell has its default back: required behaviour.
        EXPECT_EQ(cells.at(tag), cells.at(tag).empty() || cells.at(tag).find('\r') < text.npos ? cells.at(tag) : text)
            << tag;
    platform.clearLogs();
    platform.clearJournal();
    return 0;
}
