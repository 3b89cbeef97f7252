#include "workbench/StorageFailures.h"

#include "workbench/Items.h"

#include "Data/DataSourceDB.h"

#include "HostPlatform.h"

#include <fmt/format.h>

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
    m_items.insert(items.begin(), items.end());
    return items;
}

bool StorageFailures::takeAny()
{
    takeItems();
    m_reason.clear();
    bool const isFaulty = m_platform.takeDatabaseError(&m_reason);
    m_lost = std::exchange(m_items, {});
    return std::exchange(m_any, false) || isFaulty;
}

std::string StorageFailures::account(std::size_t stored) const
{
    auto const values = [](std::size_t count) { return fmt::format("{} value{}", count, count == 1 ? "" : "s"); };
    auto const counts = m_lost.empty() ? ""
                                       : fmt::format(": {} stored, {} not, which the next start has as before",
                                                     values(stored), m_lost.size());
    return (m_reason.empty() ? "the database refused it" : m_reason) + counts +
           "; when that is mended, the command can be given again";
}

} // namespace Tool
