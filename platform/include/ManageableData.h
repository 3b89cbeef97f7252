// One record of the management service: items by name (the root ids), each with sub-items that have values.
// A plain value type for one thread at a time: it takes no lock, does not block and does not fail.
#pragma once

#include <string>
#include <vector>

class LocalMgmtIfc;

class ManageableData {
public:
    /// One sub-item of the record. An item that stands for itself has its own name as sub-item name.
    struct Entry {
        std::string item;
        std::string subItem;
        std::string value;
        bool hasValue = false;
    };

    /// Why a value of a set request was not taken.
    struct RejectReason {
        std::string item;
        std::string subItem;
        std::string reason;
    };

    ManageableData() = default;

    /// Appends the root ids of this record, in the order of their first mention.
    void getRootIds(std::vector<std::string>& rootIds) const;

    /// Reads the value of a sub-item. False, with `value` untouched, when the record has none.
    bool interogate(std::string const& item, std::string const& subItem, std::string& value) const;

    /// Names a sub-item to be read. Makes the root id when it is not there yet; a value already present stays.
    void populate(std::string const& item, std::string const& subItem);

    /// Stores a value, replacing an earlier one. Makes the root id when it is not there yet.
    void populate(std::string const& item, std::string const& subItem, std::string const& value);

    /// Makes the root id and names the service that answers for it; null means the one that receives the record. Not owned.
    void setRootId(std::string const& item, LocalMgmtIfc* owner);

    /// Says why a value was not taken. Several reasons for one sub-item are all kept, in order.
    void addRejectReason(std::string const& item, std::string const& subItem, std::string const& reason);

    /// For the service's side: the sub-items in the order of their first mention. Valid until the record changes.
    std::vector<Entry> const& entries() const { return m_entries; }

    /// For the service's side: the reasons in the order given. Valid until the record changes.
    std::vector<RejectReason> const& rejectReasons() const { return m_rejectReasons; }

private:
    struct Root {
        std::string item;
        LocalMgmtIfc* owner = nullptr;
    };

    Root& root(std::string const& item);
    Entry& entry(std::string const& item, std::string const& subItem);

    std::vector<Root> m_roots;
    std::vector<Entry> m_entries;
    std::vector<RejectReason> m_rejectReasons;
};
