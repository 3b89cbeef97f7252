// What the shared library exports: everything else is hidden.
#pragma once

#if defined(__GNUC__)
#define MEDIADATA_EXPORT __attribute__((visibility("default")))
#else
#define MEDIADATA_EXPORT
#endif
