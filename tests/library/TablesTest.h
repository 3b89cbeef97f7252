// The table classes driven through their handler, over a stand-in for the cache that keeps every cell as text.
#pragma once

#include "Data/DataItemBuilder.h"
#include "Data/DataTableHandler.h"

#include "ScriptedFixture.h"

#include <functional>
#include <string>
#include <vector>

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
        for (int tag = 1; tag < Data::eDataTagEnd; ++tag)
            cells[static_cast<Data::eDataTag>(tag)];
        Data::DataCache::DataItemBuilder::getDefaultValues(cells, Data::eDataComponentMedia, false);
    }

    void dbCBGetDataValues(Data::DataTagValue_t& values) override
    {
        for (auto& [tag, text] : values)
            if (auto const cell = cells.find(tag); cell != cells.end())
                text = cell->second;
    }

    bool dbCBSetDataValues(Data::DataTagValue_t const& values, bool persist, bool toManagement) override
    {
        sets.push_back({values, persist, toManagement});
        for (auto const& [tag, text] : values)
            cells[tag] = text;
        if (onSet)
            onSet();
        return accepts;
    }

    void dbCBGetFailed(Data::eDataTag tag) override { ADD_FAILURE() << "no table reports single values: " << tag; }

    void dbCBResetSelectedToDefault(Data::DataTagValue_t& values) override
    {
        Data::DataCache::DataItemBuilder::getDefaultValues(values, Data::eDataComponentMedia, false);
        for (auto const& [tag, text] : instead)
            values[tag] = text;
        for (auto const& [tag, text] : values)
            cells[tag] = text;
    }

    bool dbCBQueryIsTableUserData(Data::eDataTag table) override { return userTables.contains(table); }

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
    bool accepts = true;
};

class TablesTest : public ScriptedTest {
protected:
    /// What lies from `first` to `last`.
    Data::DataTagValue_t range(Data::eDataTag first, Data::eDataTag last) const
    {
        return {store.cells.lower_bound(first), store.cells.upper_bound(last)};
    }

    void set(Data::DataTagValue_t const& changes)
    {
        for (auto const& [tag, text] : changes)
            store.cells[tag] = text;
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
