// Table texts as a database may hold them, through the table handler: read, written, and read again. The first character of an
// input chooses the table, the second the row that the hardware does not allow, the rest is the text.
#include "../tests/library/TablesTest.h"
#include "Fuzz.h"

#include "Data/RankedTables.h"
#include "Tables/Tables.h"

#include "ClientUtils.h"

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    struct Target {
        Tables::Table const& table;
        void (*order)(DataTagValue_t& cells); // as the next start finds them: ranks that no row has can leave rows unsorted
    };
    constexpr auto asTheyAre = [](DataTagValue_t&) {};
    constexpr auto asRanked = [](DataTagValue_t& cells) { // codecs are written in the order of their rows
        for (int row = 0; row < Tables::codecs.rows; ++row)
            cells[Tables::codecs.cell(eDataTagCodecRank1, row)] = ClientUtils::itos(row + 1);
    };
    static constexpr Target targets[]{
        {Tables::codecs, asRanked},
        {Tables::encryptions, [](auto& cells) { Utils::sortSRTPEncryptionsByRank(cells, Tables::encryptions.rows); }},
        {Tables::headsets, [](auto& cells) { Utils::sortHeadsetsByRank(cells, Tables::headsets.rows); }},
        {Tables::ringing, asTheyAre}};
    [[maybe_unused]] static bool const prepared = Fuzz::prepare();
    static Scripted::Platform platform;
    static CellStore const defaults;
    static CellStore store;
    static DataSourceDB::DataTableHandler handler(
        {Tables::codecs.tag, Tables::encryptions.tag, Tables::headsets.tag, Tables::ringing.tag}, &store);
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

    auto const& target = targets[data[0] % std::size(targets)];
    auto const& my = target.table;
    auto const* const flagColumn = my.find(Tables::Role::flag);
    auto const read = [&](std::string text, DataTagValue_t given) {
        for (auto const& set : std::exchange(store.sets, {}))
            for (auto const& [tag, ignored] : set.values)
                store.cells[tag] = defaults.cells.at(tag);
        store.userTables = {my.tag};
        given[my.tag] = std::move(text);
        store.dbCBSetDataValues(given, false, false);
        handler.readDataFromTables(true);
        return DataTagValue_t(store.cells.lower_bound(my.first), store.cells.upper_bound(my.lastFlag));
    };
    DataTagValue_t flags;
    if (int const row = data[1] % 8; flagColumn && row < my.rows)
        flags[my.cell(flagColumn->first, row)] = "false";
    DataTagValue_t cells = read(std::string(reinterpret_cast<char const*>(data) + 2, size - 2), flags);
    if (flagColumn) // they travel with their rows
        flags = {cells.lower_bound(flagColumn->first), cells.end()};
    DataTagValue_t rejected;
    handler.setTableChanged(my.tag);
    EXPECT_TRUE(handler.writeTablesToDB(rejected)) << "what was read can be written";
    EXPECT_EQ(DataTagValue_t(store.cells.lower_bound(my.first), store.cells.upper_bound(my.lastFlag)), cells);
    target.order(cells);
    for (auto const& [tag, text] : read(store.cells[my.tag], flags))
        // A carriage return is not escaped, and an empty cell has its default back: required behaviour.
        EXPECT_EQ(cells.at(tag), cells.at(tag).empty() || cells.at(tag).find('\r') < text.npos ? cells.at(tag) : text)
            << tag;
    platform.clearLogs();
    platform.clearJournal();
    return 0;
}
