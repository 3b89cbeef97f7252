// The management service as the library calls it; registered with the service runtime under the name "LocalMgmtIfc".
// The library calls with or without the cache's lock, on any thread. The service may call back into the library from inside a
// call, on the same thread. Records are borrowed for the call.
#pragma once

#include "SvcRTEContext.h"

#include <string>
#include <vector>

class ManageableData;

class LocalMgmtIfc : public Executable {
public:
    /// Fills the sub-items that the record names with their current values. False when the service is out of reach; a
    /// sub-item that the service does not know stays without a value.
    virtual bool readData(ManageableData& record) = 0;

    /// Takes note of values that the library owns and that changed. `rootIds` are the record's root ids.
    virtual bool reportChanged(ManageableData& record, std::vector<std::string> const& rootIds) = 0;

    /// Asks the owners of the record's items to take the values. False when one of them was not taken.
    virtual bool requestSet(ManageableData& record) = 0;
};
