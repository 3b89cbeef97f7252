// The record of the management service, the same on every platform of this repository.
#include "ManageableData.h"

#include <algorithm>

ManageableData::Root& ManageableData::root(std::string const& item)
{
    auto const found = std::find_if(m_roots.begin(), m_roots.end(), [&](Root const& each) { return each.item == item; });
    return found != m_roots.end() ? *found : m_roots.emplace_back(Root{item, nullptr});
}

ManageableData::Entry& ManageableData::entry(std::string const& item, std::string const& subItem)
{
    root(item);
    auto const found = std::find_if(m_entries.begin(), m_entries.end(),
                                    [&](Entry const& each) { return each.item == item && each.subItem == subItem; });
    return found != m_entries.end() ? *found : m_entries.emplace_back(Entry{item, subItem, "", false});
}

void ManageableData::getRootIds(std::vector<std::string>& rootIds) const
{
    for (Root const& each : m_roots)
        rootIds.push_back(each.item);
}

bool ManageableData::interogate(std::string const& item, std::string const& subItem, std::string& value) const
{
    auto const found = std::find_if(m_entries.begin(), m_entries.end(),
                                    [&](Entry const& each) { return each.item == item && each.subItem == subItem; });
    if (found == m_entries.end() || !found->hasValue)
        return false;
    value = found->value;
    return true;
}

void ManageableData::populate(std::string const& item, std::string const& subItem)
{
    entry(item, subItem);
}

void ManageableData::populate(std::string const& item, std::string const& subItem, std::string const& value)
{
    Entry& target = entry(item, subItem);
    target.value = value;
    target.hasValue = true;
}

void ManageableData::setRootId(std::string const& item, LocalMgmtIfc* owner)
{
    root(item).owner = owner;
}

void ManageableData::addRejectReason(std::string const& item, std::string const& subItem, std::string const& reason)
{
    m_rejectReasons.push_back({item, subItem, reason});
}
