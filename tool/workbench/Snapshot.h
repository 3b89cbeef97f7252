// What a verb changed: all values that the cache holds, before and after.
#pragma once

#include "report/Report.h"

#include "Data/DataTypes.h"

#include <functional>
#include <string>
#include <vector>

namespace Tool {

class Workbench;

class Snapshot {
public:
    /// Keeps the present values.
    explicit Snapshot(Workbench& workbench);

    /// The values of the items that the cache holds, in the order of allTags(); null for tables and for all others.
    static std::vector<Json> values();

    /// What differs from them now, of all items or of those that `counts` takes: item, old, new. Whole tables are left out,
    /// since their cells tell the same.
    Section section(std::string name, std::string title = {}, std::function<bool(Data::eDataTag)> const& counts = {}) const;

private:
    Workbench& m_workbench;
    std::vector<Json> m_before;
};

} // namespace Tool
