#include "workbench/StorageFailures.h"

#include "workbench/Items.h"

#include "Data/DataSourceDB.h"

#include "HostPlatform.h"

#include <map>
#include <utility>

namespace Tool {

using namespace Data;

std::set<eDataTag> StorageFailures::takeItems()
{
    static auto const tags = [] {
        std::map<Host::FailedWrite, eDataTag> result;
        for (auto const tag : allTags()) {
            if (auto const& row = DataSourceDB::dataDbDescriptionTable[tag]; row.schema)
                result[{*row.schema, *row.element}] = tag;
        }
        return result;
    }();
    std::set<eDataTag> items;
    for (auto const& failed : m_platform.takeFailedWrites()) {
        m_any = true;
        if (auto const found = tags.find(failed); found != tags.end())
            items.insert(found->second);
    }
    return items;
}

bool StorageFailures::takeAny()
{
    takeItems();
    bool const isFaulty = m_platform.takeDatabaseError();
    return std::exchange(m_any, false) || isFaulty;
}

} // namespace Tool
