// What the shared library exports: everything else is hidden. Private templates of exported classes are hidden one by one,
// since whether their instantiations exist as symbols is the optimiser's choice.
#pragma once

#if defined(__GNUC__)
#define MEDIADATA_EXPORT __attribute__((visibility("default")))
#define MEDIADATA_HIDDEN __attribute__((visibility("hidden")))
#else
#define MEDIADATA_EXPORT
#define MEDIADATA_HIDDEN
#endif
