// The table classes driven through their handler, over a stand-in for the cache that keeps every cell as text.
#pragma once

#include "../Standard.h"
#include "Data/DataItemBuilder.h"
#include "Data/DataTableHandler.h"

#include "ScriptedFixture.h"

using namespace Data;

/// Cells from `first` on, one letter each: '+' stands for true, '-' for false, '~' for -1, ' ' for none.
inline DataTagValue_t column(eDataTag first, std::string const& letters)
{
    DataTagValue_t cells;
    for (char const letter : letters) {
        auto const tag = static_cast<eDataTag>(first + static_cast<int>(cells.size()));
        cells[tag] = letter == '+'   ? "true"
                     : letter == '-' ? "false"
                     : letter == '~' ? "-1"
                                     : std::string(letter != ' ', letter);
    }
    return cells;
}

/// Holds the cells with their catalogue defaults and remembers what the handler set.
struct CellStore : DataDBCallback {
    struct Set {
        DataTagValue_t values;
        bool persist;
        bool toManagement;
    };

    CellStore()
    {
        cells = column(static_cast<eDataTag>(1), std::string(eDataTagEnd - 1, ' '));
        DataCache::DataItemBuilder::getDefaultValues(cells, eDataComponentMedia, false);
    }

    void dbCBGetDataValues(DataTagValue_t& values) override
    {
        for (auto& [tag, text] : values)
            text = cells.contains(tag) ? cells.at(tag) : text;
    }

    bool dbCBSetDataValues(DataTagValue_t const& values, bool persist, bool toManagement) override
    {
        sets.push_back({values, persist, toManagement});
        take(values);
        if (onSet)
            onSet();
        return true;
    }

    void dbCBGetFailed(eDataTag tag) override { ADD_FAILURE() << "no table reports single values: " << tag; }

    void dbCBResetSelectedToDefault(DataTagValue_t& values) override
    {
        DataCache::DataItemBuilder::getDefaultValues(values, eDataComponentMedia, false);
        for (auto const& [tag, text] : instead)
            values[tag] = text;
        take(values);
    }

    bool dbCBQueryIsTableUserData(eDataTag table) override { return userTables.contains(table); }

    void take(DataTagValue_t const& values)
    {
        for (auto const& [tag, text] : values)
            cells[tag] = text;
    }

    /// The texts of a table that were persisted, in order.
    std::vector<std::string> stored(eDataTag table) const
    {
        std::vector<std::string> texts;
        for (auto const& set : sets)
            if (set.persist && set.values.contains(table))
                texts.push_back(set.values.at(table));
        return texts;
    }

    DataTagValue_t cells;
    DataTagValue_t instead; ///< what a reset puts in the place of defaults
    std::vector<Set> sets;
    std::set<eDataTag> userTables;
    std::function<void()> onSet;
};

struct StoredTables : ScriptedTest {
    /// What lies from `first` to `last`.
    DataTagValue_t range(eDataTag first, eDataTag last) const
    {
        return {store.cells.lower_bound(first), store.cells.upper_bound(last)};
    }

    bool write(eDataTag table)
    {
        store.sets.clear();
        rejected.clear();
        handler.setTableChanged(table);
        return handler.writeTablesToDB(rejected);
    }

    /// Reads the one table whose text is `xml`.
    void read(eDataTag table, std::string const& xml)
    {
        store.sets.clear();
        store.cells[table] = xml;
        store.userTables = {table};
        handler.readDataFromTables(true);
    }

    CellStore store;
    DataTagValue_t rejected;
    DataSourceDB::DataTableHandler handler{{eDataTagGroupPickup, eDataTagCodecSettings, eDataTagDistinctiveRinging,
                                            eDataTagSRTPEncryptionSettings, eDataTagHeadsetPriorities, eDataTagDoorOpeners,
                                            eDataTagRingerVolume, eDataTagCodecSettings},
                                           &store};
};
