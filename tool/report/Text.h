// How single values look as text.
#pragma once

#include "report/Report.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tool {

/// The width that all text keeps to where it can.
inline constexpr std::size_t lineWidth = 80;

/// A cell as one line of text: control characters escaped, the empty text as "", no value as "-", the elements of a list and
/// the members of an object one behind the other.
std::string cellText(Json const& cell);

/// Control characters written out, but for those to be kept.
std::string escaped(std::string const& text, std::string_view kept = "");

/// The number of characters, not bytes, so that columns stay aligned for texts in UTF-8.
std::size_t width(std::string const& text);

/// The text in lines of at most so many columns, cut at blanks; a longer word has a line of its own.
std::vector<std::string> wrapped(std::string const& text, std::size_t columns);

/// Local time in ISO 8601, "2026-11-22T10:11:12.345+01:00", out of milliseconds since 1970.
std::string isoTime(std::int64_t milliseconds);

/// Local time to the second, out of milliseconds since 1970.
std::string timeText(std::int64_t milliseconds);

/// A time as people give it, in milliseconds since 1970: ISO 8601 with or without zone, a date alone (its begin), or
/// "10 minutes ago". Nothing for other texts.
std::optional<std::int64_t> timeOf(std::string const& text);

} // namespace Tool
