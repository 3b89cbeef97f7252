#include "workbench/Snapshot.h"

#include "workbench/Items.h"
#include "workbench/Workbench.h"

#include <utility>

namespace Tool {

Snapshot::Snapshot(Workbench& workbench) : m_workbench(workbench), m_before(values()) {}

std::vector<Json> Snapshot::values()
{
    // Reading a flag applies the flag file, which may change items with lower tags.
    readValue(Data::eDataTagOpusTest);
    std::vector<Json> result;
    for (auto const tag : allTags()) {
        bool const counts = isHeld(tag) && typeOf(tag) != Data::eDataItemTypeComplex;
        result.push_back(counts ? readValue(tag).value_or(Json()) : Json());
    }
    return result;
}

Section Snapshot::section(std::string name, std::string title, std::function<bool(Data::eDataTag)> const& counts) const
{
    Section section{std::move(name), Layout::Table, {"item", "old", "new"}, {}, std::move(title)};
    bool const secrets = m_workbench.options().showSecrets;
    auto const after = values();
    for (std::size_t index = 0; index < after.size(); ++index) {
        auto const tag = allTags()[index];
        if (m_before[index] != after[index] && (!counts || counts(tag)))
            section.rows.push_back({nameOf(tag), shown(tag, m_before[index], secrets), shown(tag, after[index], secrets)});
    }
    return section;
}

} // namespace Tool
