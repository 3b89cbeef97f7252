// The table classes driven through their handler, over a stand-in for the cache that keeps every cell as text.
#pragma once

#include "../Standard.h"
#include "Data/DataItemBuilder.h"
#include "Data/DataTableHandler.h"

#include "ScriptedFixture.h"

/// Cells from `first` on, one letter each: '+' stands for true, '-' for false, '~' for -1, ' ' for none.
inline Data::DataTagValue_t column(Data::eDataTag first, std::string const& letters)
{
    Data::DataTagValue_t cells;
    for (char const letter : letters) {
        auto const tag = static_cast<Data::eDataTag>(first + static_cast<int>(cells.size()));
        cells[tag] = letter == '+'   ? "true"
                     : letter == '-' ? "false"
                     : letter == '~' ? "-1"
                                     : std::string(letter != ' ', letter);
    }
    return cells;
}

/// Holds the cells with their catalogue defaults and remembers what the handler set.
class CellStore : public Data::DataDBCallback {
public:
    struct Set {
        Data::DataTagValue_t values;
        bool persist;
        bool toManagement;
    };

    CellStore()
    {
        cells = column(static_cast<Data::eDataTag>(1), std::string(Data::eDataTagEnd - 1, ' '));
        Data::DataCache::DataItemBuilder::getDefaultValues(cells, Data::eDataComponentMedia, false);
    }

    void dbCBGetDataValues(Data::DataTagValue_t& values) override
    {
        for (auto& [tag, text] : values)
            text = cells.contains(tag) ? cells.at(tag) : text;
    }

    bool dbCBSetDataValues(Data::DataTagValue_t const& values, bool persist, bool toManagement) override
    {
        sets.push_back({values, persist, toManagement});
        take(values);
        if (onSet)
            onSet();
        return true;
    }

    void dbCBGetFailed(Data::eDataTag tag) override { ADD_FAILURE() << "no table reports single values: " << tag; }

    void dbCBResetSelectedToDefault(Data::DataTagValue_t& values) override
    {
        Data::DataCache::DataItemBuilder::getDefaultValues(values, Data::eDataComponentMedia, false);
        for (auto const& [tag, text] : instead)
            values[tag] = text;
        take(values);
    }

    bool dbCBQueryIsTableUserData(Data::eDataTag table) override { return userTables.contains(table); }

    void take(Data::DataTagValue_t const& values)
    {
        for (auto const& [tag, text] : values)
            cells[tag] = text;
    }

    /// The texts of a table that were persisted, in order.
    std::vector<std::string> stored(Data::eDataTag table) const
    {
        std::vector<std::string> texts;
        for (auto const& set : sets)
            if (set.persist && set.values.contains(table))
                texts.push_back(set.values.at(table));
        return texts;
    }

    Data::DataTagValue_t cells;
    Data::DataTagValue_t instead; ///< what a reset puts in the place of defaults
    std::vector<Set> sets;
    std::set<Data::eDataTag> userTables;
    std::function<void()> onSet;
};

class StoredTables : public ScriptedTest {
protected:
    /// What lies from `first` to `last`.
    Data::DataTagValue_t range(Data::eDataTag first, Data::eDataTag last) const
    {
        return {store.cells.lower_bound(first), store.cells.upper_bound(last)};
    }

    bool write(Data::eDataTag table)
    {
        store.sets.clear();
        rejected.clear();
        handler.setTableChanged(table);
        return handler.writeTablesToDB(rejected);
    }

    /// Reads the one table whose text is `xml`.
    void read(Data::eDataTag table, std::string const& xml)
    {
        store.sets.clear();
        store.cells[table] = xml;
        store.userTables = {table};
        handler.readDataFromTables(true);
    }

    CellStore store;
    Data::DataTagValue_t rejected;
    Data::DataSourceDB::DataTableHandler handler{{Data::eDataTagGroupPickup, Data::eDataTagCodecSettings,
                                                  Data::eDataTagDistinctiveRinging, Data::eDataTagSRTPEncryptionSettings,
                                                  Data::eDataTagHeadsetPriorities, Data::eDataTagDoorOpeners,
                                                  Data::eDataTagRingerVolume, Data::eDataTagCodecSettings},
                                                 &store};
};
