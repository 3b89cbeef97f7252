// What the database did not store, by items: asked from the host platform, which knows every write.
#pragma once

#include "Data/DataTypes.h"

#include <cstddef>
#include <set>
#include <string>

namespace Host {
class Platform;
}

namespace Tool {

class StorageFailures {
public:
    explicit StorageFailures(Host::Platform& platform) : m_platform(platform) {}

    /// The items and stored tables of which a write failed since the last call of either function, also when a later write
    /// stored them.
    std::set<Data::eDataTag> takeItems();

    /// Whether the database failed at anything since the last call: one that takeItems() told of counts, and so does what the
    /// platform keeps for itself.
    bool takeAny();

    /// The items of which a write failed before the last takeAny().
    std::set<Data::eDataTag> const& lost() const { return m_lost; }

    /// One sentence for people after takeAny() was true: why, how much was stored besides, and how to go on.
    std::string account(std::size_t stored) const;

private:
    Host::Platform& m_platform;
    bool m_any = false;
    std::set<Data::eDataTag> m_items; ///< since the last call of takeAny()
    std::set<Data::eDataTag> m_lost;  ///< before it
    std::string m_reason = {};        ///< of the last call
};

} // namespace Tool
