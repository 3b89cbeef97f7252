// How a port of libmediadata begins: a platform with everything that the library links, and nothing behind most of it yet.
#pragma once

#include <SvcRTEContext.h>

/// What the library is started with.
class Telephone : public SvcRTEContext {
public:
    /// To do: the management service, a LocalMgmtIfc, under the name "LocalMgmtIfc".
    Executable* findService(std::string const& name) override;
};
