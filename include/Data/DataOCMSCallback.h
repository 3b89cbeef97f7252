// What the management-service source may ask of the cache.
#pragma once

#include "Data/DataTypes.h"

namespace Data {

/// Each operation takes the cache's lock.
class DataOCMSCallback {
public:
    virtual ~DataOCMSCallback() = default;

    /// Fills in the current value of each tag that `values` names; tags that the cache does not hold stay as they are.
    virtual void ocmsCBGetDataValues(DataTagValue_t& values) = 0;

    /// Sets, stores and announces. `rejected` gets one entry per tag not taken: empty text when the value is the present one,
    /// otherwise the reason. True only when every value was set or unchanged and the database took all of it.
    virtual bool ocmsCBSetDataValues(DataTagValue_t const& values, DataTagValue_t& rejected) = 0;

    /// Resets the user's settings to their defaults, pushes them to the service and announces them.
    virtual void ocmsCBResetToDefault() = 0;
};

} // namespace Data
