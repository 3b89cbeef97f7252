// What became of one value, of whatever verb: the word for it, how that word looks at a terminal, and what it means for the
// exit status.
#pragma once

#include "report/Report.h"

#include <array>
#include <cstddef>
#include <string_view>

namespace Tool {

/// In the order in which an import counts them.
enum class Result { Stored, Taken, WouldStore, HeldBack, Unchanged, Refused, Unknown, Failed, NotStored, Ignored };

/// How a text looks at a terminal that shows colours.
enum class Look { Plain, Heading, Good, Bad };

struct ResultRow {
    Result result;
    std::string_view word;
    Look look;
    ExitCode raises; ///< not exitOk: it counts as bad
};

inline constexpr std::array results{
    ResultRow{Result::Stored, "stored", Look::Good, exitOk},
    ResultRow{Result::Taken, "taken", Look::Good, exitOk}, // by what keeps nothing
    ResultRow{Result::WouldStore, "would store", Look::Good, exitOk},
    ResultRow{Result::HeldBack, "held back", Look::Plain, exitOk},
    ResultRow{Result::Unchanged, "unchanged", Look::Plain, exitOk},
    ResultRow{Result::Refused, "refused", Look::Bad, exitRefused},
    ResultRow{Result::Unknown, "unknown", Look::Bad, exitUnknownItem},
    ResultRow{Result::Failed, "failed", Look::Bad, exitStorage},
    ResultRow{Result::NotStored, "not stored", Look::Plain, exitStorage}, // what the history calls a failure
    ResultRow{Result::Ignored, "ignored", Look::Plain, exitRefused},
};

constexpr ResultRow const& rowOf(Result result)
{
    return results[static_cast<std::size_t>(result)];
}

static_assert(
    [] {
        for (auto const& row : results) {
            if (&rowOf(row.result) != &row)
                return false;
        }
        return true;
    }(),
    "a result stands at its place");

constexpr std::string_view wordOf(Result result)
{
    return rowOf(result).word;
}

constexpr bool isGood(Result result)
{
    return rowOf(result).look == Look::Good;
}

constexpr bool isBad(Result result)
{
    return rowOf(result).raises != exitOk;
}

} // namespace Tool
