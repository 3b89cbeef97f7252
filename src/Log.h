// The library's way to the platform log: one module name, the unit's path, the source line.
#pragma once

#include "AppLog.h"

/// An error: level 2, always written.
#define LOG_ERROR(unit, ...) logAppUni("DataCache", unit, 2, __LINE__, __VA_ARGS__)

/// A notice (3) or trace (5, 6), written only when somebody wants it.
#define LOG_AT(unit, level, ...)                                                                                            \
    do {                                                                                                                    \
        if (loggingOnAppUni("DataCache", level))                                                                            \
            logAppUni("DataCache", unit, level, __LINE__, __VA_ARGS__);                                                     \
    } while (false)
