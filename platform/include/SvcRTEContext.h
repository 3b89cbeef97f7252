// The service runtime: how the library finds the services that other parts of the telephone offer.
#pragma once

#include <string>

/// What a platform object needs from the process it runs in. Owned by the process; outlives everything built from it.
class Context {
public:
    virtual ~Context() = default;
};

/// A registered service. The runtime owns it; users narrow it with dynamic_cast.
class Executable {
public:
    virtual ~Executable() = default;
};

/// The context that the media process is started with. It may also be a StorageGroup: the visibility lets the library find that
/// across the limits of shared libraries.
class [[gnu::visibility("default")]] SvcRTEContext : public Context
{
public:
    /// The service registered under `name`, or null when there is none. The runtime keeps ownership, and the service outlives
    /// the library's use of it. The library asks once per service, at start-up, with the cache's lock held.
    virtual Executable* findService(std::string const& name) = 0;
};
