// What the database source may ask of the cache.
#pragma once

#include "Data/DataTypes.h"

namespace Data {

/// Each operation takes the cache's lock, which the calling thread already holds. None announces changes.
class DataDBCallback {
public:
    virtual ~DataDBCallback() = default;

    /// Fills in the current value of each tag that `values` names; tags that the cache does not hold stay as they are.
    virtual void dbCBGetDataValues(DataTagValue_t& values) = 0;

    /// Sets the values; `persist` writes database-held ones, `toManagement` also reports them to the management service.
    /// False when one was refused or not stored.
    virtual bool dbCBSetDataValues(DataTagValue_t const& values, bool persist, bool toManagement) = 0;

    /// The database could not deliver the tag's value: a user's setting falls back to its default, which is stored.
    virtual void dbCBGetFailed(eDataTag tag) = 0;

    /// Replaces the values by their defaults, drops the tags that have none, and sets and stores the rest.
    virtual void dbCBResetSelectedToDefault(DataTagValue_t& values) = 0;

    /// True when the table follows the user.
    virtual bool dbCBQueryIsTableUserData(eDataTag table) = 0;
};

} // namespace Data
