// What the telephone's hardware can do. Constant while the process runs on a telephone; answers at once, from any thread, with
// or without the cache's lock. A platform that cannot tell answers false.
#pragma once

class HardwareVersion {
public:
    /// The entry model of the family.
    static bool is_TL20();
    /// The top model of the family.
    static bool is_TL70();
    /// The telephone has a USB port for headsets.
    static bool is_USBSupported();
};
