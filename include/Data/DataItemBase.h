// A data item: one typed value with its validators, its changed mark and the callbacks that want to hear of it.
#pragma once

#include "Data/DataTypes.h"
#include "Data/DataValidator.h"
#include "Data/Export.h"

#include <memory>
#include <set>
#include <span>
#include <string>
#include <utility>
#include <vector>

class DataUpdateCallback;

namespace Data {

/// Items take no lock of their own: the cache serialises every access under its lock. A refusal answers false and writes its
/// text into `reason`; a refused value changes nothing; on success `reason` is left as it was. The value operations of the
/// base answer false and touch nothing, so that asking an item for another type than its own never converts.
class MEDIADATA_EXPORT DataItemBase {
public:
    /// Takes over both chains; each may be null.
    DataItemBase(eDataTag tag, eDataSource source, DataValidator* stringChain, DataValidator* valueChain);
    virtual ~DataItemBase();
    DataItemBase(DataItemBase const&) = delete;
    DataItemBase& operator=(DataItemBase const&) = delete;

    virtual bool getValue(bool& value) const;
    virtual bool setValue(bool const& value, std::string& reason);
    virtual bool getValue(int& value) const;
    virtual bool setValue(int const& value, std::string& reason);
    virtual bool getValue(std::string& value) const;
    virtual bool setValue(std::string const& value, std::string& reason);
    /// The value as text, always true for a typed item.
    virtual bool getValueString(std::string& text) const;
    /// Checks the text, converts it and sets the value with the item's own setValue.
    virtual bool setValueString(std::string const& text, std::string& reason);

    bool validateValue(bool const& value, std::string& reason) const;
    bool validateValue(int const& value, std::string& reason) const;
    bool validateValue(std::string const& value, std::string& reason) const;
    bool validateStringValue(std::string const& text, std::string& reason) const;

    /// Replaces a chain; what it held before is deleted.
    void setStringChain(DataValidator* chain);
    void setValueChain(DataValidator* chain);

    /// Callbacks are borrowed; one that is present is ignored.
    void addCallback(DataUpdateCallback* callback);
    void removeCallback(DataUpdateCallback* callback);
    /// Takes the change: false and `out` untouched when nothing changed; false with the mark cleared when nobody registered;
    /// otherwise true with the mark cleared and a copy of the set in `out`.
    bool getCallbacks(std::set<DataUpdateCallback*>& out);

    eDataTag tag() const { return m_tag; }
    eDataSource source() const { return m_source; }
    bool isChanged() const { return m_changed; }
    /// Takes the change without its callbacks: true when there was one.
    bool takeChange() { return std::exchange(m_changed, false); }
    /// In the order of their addresses.
    std::span<DataUpdateCallback* const> callbacks() const
    {
        return m_callbacks ? std::span<DataUpdateCallback* const>(*m_callbacks) : std::span<DataUpdateCallback* const>();
    }

protected:
    void markChanged() { m_changed = true; }

private:
    // There are hundreds of items, hence the order of the members and what they are.
    eDataTag m_tag;
    eDataSource m_source : 8;
    bool m_changed = false;
    std::unique_ptr<DataValidator> m_stringChain;
    std::unique_ptr<DataValidator> m_valueChain;
    std::unique_ptr<std::vector<DataUpdateCallback*>> m_callbacks; ///< sorted; null while there was none, as for most items
};

} // namespace Data
