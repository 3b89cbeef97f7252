// Optional: a platform that can store many values at once. The library asks its context for it with a dynamic_cast when it
// starts; without it every write stands alone. Both calls are made with the cache's lock held and without waiting for anything.
#pragma once

class [[gnu::visibility("default")]] StorageGroup
{
public:
    virtual ~StorageGroup() = default;

    /// From now on what the calling thread stores with `DataStorage` waits for `endGroup`; what other threads and the platform
    /// itself store does not. Each write still answers at once, and refuses at once what it always refuses; a table still has
    /// all of its rows or none. The thread that began the group reads what waits, nobody else does. A table of which some rows
    /// have arrived is abandoned. False while a group is open: nothing changes then, and the library writes call by call.
    virtual bool beginGroup() = 0;

    /// Ends the calling thread's group: all that waits is durable when it returns true, with one wait for the disk; false, also
    /// when the thread has no group open, stores nothing of it. A crash, kill or power cut leaves all or nothing. A table of
    /// which some rows have arrived is abandoned. The library ends a group before it calls the management service or a client,
    /// and begins another one behind that.
    virtual bool endGroup() = 0;
};
