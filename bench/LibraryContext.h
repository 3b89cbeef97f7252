// What a platform adds to the benchmark of the library.
#pragma once

#include "SvcRTEContext.h"

#include <memory>
#include <string>

namespace Bench {

#ifdef BENCH_PLATFORM_STORES_NOTHING
constexpr bool platformPersists = false;
#else
constexpr bool platformPersists = true;
#endif

std::unique_ptr<SvcRTEContext> makeContext(std::string const& directory);

} // namespace Bench
