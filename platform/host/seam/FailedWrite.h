// What the host's database did not store although it was asked to.
#pragma once

#include <compare>
#include <cstddef>
#include <string>

namespace Host {

/// A value that did not get stored: the previous one stands. A table is replaced whole, so its element is "", whichever of
/// its rows was refused. Schemas that begin with "@" are the platform's own.
struct FailedWrite {
    std::string schema;
    std::string element;

    auto operator<=>(FailedWrite const&) const = default;
};

/// So many are remembered: more than the library has values.
inline constexpr std::size_t failedWriteLimit = 1024;

} // namespace Host
