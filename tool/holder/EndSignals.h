// The signals that end a process, for verbs that end in their own time.
#pragma once

#include "Files.h"

namespace Tool {

/// Keeps the signals from ending the process: they are read from descriptor(). To be made before any thread.
class EndSignals {
public:
    EndSignals();
    int descriptor() const { return m_descriptor.get(); }

private:
    Host::FileDescriptor m_descriptor;
};

} // namespace Tool
