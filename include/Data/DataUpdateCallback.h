// What a client implements to hear of changes.
#pragma once

namespace Data {
class BulkData;
}

/// Never owned by the library. It must live until `terminate`: unregistering takes it from the item with the lowest tag alone,
/// which is required, and the others go on calling it.
class DataUpdateCallback {
public:
    /// Called once per notification pass with the values that changed among the tags it registered for. `changes` is the
    /// callee's own copy, valid for the call. Runs on the thread that made the change; it may read, write, register,
    /// unregister and start bulk operations. The cache's lock is held by this thread only when the pass runs inside an
    /// operation that still holds it. What it throws goes on to whoever made the change, after all others were told; of several
    /// exceptions the first.
    virtual void onDataUpdate(Data::BulkData& changes) = 0;
    virtual ~DataUpdateCallback() = default;
};
