// What the host's database did not store although it was asked to.
#pragma once

#include <cstddef>
#include <string>
#include <tuple>

namespace Host {

/// A value that did not get stored: the previous one stands. A table is replaced whole, so its element is "", whichever of
/// its rows was refused. Schemas that begin with "@" are the platform's own.
struct FailedWrite {
    std::string schema;
    std::string element;

    bool operator==(FailedWrite const&) const = default;
    bool operator<(FailedWrite const& other) const
    {
        return std::tie(schema, element) < std::tie(other.schema, other.element);
    }
};

/// So many are remembered: more than the library has values.
inline constexpr std::size_t failedWriteLimit = 1024;

} // namespace Host
