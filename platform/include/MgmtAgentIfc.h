// The library as the management service calls it. The service calls on its own thread and holds nothing of the library's;
// each operation takes the cache's lock where it needs it. Records are borrowed for the call.
#pragma once

class ManageableData;

class MgmtAgentIfc {
public:
    virtual ~MgmtAgentIfc() = default;

    /// Sets owned items. False when a value was not taken; the record then holds the reasons.
    virtual bool setData(ManageableData& record) = 0;

    /// Fills in the current values of the owned items that the record names. Always true.
    virtual bool getData(ManageableData& record) = 0;

    /// Reports items that the library observes and that changed. A report cannot be refused.
    virtual void manageableDataChanged(ManageableData& record) = 0;

    /// Resets the user's settings to their defaults. False when there is no cache to reset.
    virtual bool resetUserData() = 0;
};
