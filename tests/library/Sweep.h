// What the sweeps share: every item that the cache holds at once, and where the database keeps it.
#pragma once

#include "LibraryTest.h"

#include "Data/DataItemBuilder.h"
#include "Data/DataSourceDB.h"

/// The tags that the cache holds: its own and the observed ones.
inline std::list<eDataTag> heldTags()
{
    std::list<eDataTag> tags;
    DataCache::DataItemBuilder::getComponentTagList(eDataComponentMedia, tags);
    Media::MediaDataCache::getObservedTags(tags);
    return tags;
}

inline DataSourceDB::DbDescription const& databaseRow(eDataTag tag)
{
    return DataSourceDB::dataDbDescriptionTable[tag];
}

/// The schema that keeps the tag, as an element or as a cell of its table; null when the database does not keep it.
inline std::string const* keepingSchema(eDataTag tag)
{
    auto const& row = databaseRow(tag);
    return row.schema ? row.schema : databaseRow(row.parentTable).schema;
}

/// Items of tables and the two of each camera that door openers set answer for one another: what a row takes the table may
/// still refuse.
inline bool dependsOnOthers(eDataTag tag)
{
    constexpr int step = eDataTagCamera2DoorOpener - eDataTagCamera1DoorOpener;
    bool const isOfCameras = tag >= eDataTagCamera1DoorOpener && tag <= eDataTagCamera4PhoneNumber;
    bool const isLinked = isOfCameras && (tag - eDataTagCamera1DoorOpener) % step < 2;
    return isLinked || databaseRow(tag).parentTable != eDataTagNone || databaseRow(tag).isTable;
}

/// The present texts of the tags that the cache holds, of tables only their cells: what a table keeps of its own is the
/// text that the library made of it last.
inline DataTagValue_t snapshot()
{
    DataTagValue_t texts;
    for (auto const tag : heldTags()) {
        if (!databaseRow(tag).isTable)
            texts[tag] = presentText(tag);
    }
    return texts;
}

/// Those of a snapshot that the database keeps.
inline DataTagValue_t kept(DataTagValue_t texts)
{
    std::erase_if(texts, [](auto const& entry) { return !keepingSchema(entry.first); });
    return texts;
}
