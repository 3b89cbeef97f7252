// What the database did not store, by items: asked from the host platform, which knows every write.
#pragma once

#include "Data/DataTypes.h"

#include <set>

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

private:
    Host::Platform& m_platform;
    bool m_any = false;
};

} // namespace Tool
