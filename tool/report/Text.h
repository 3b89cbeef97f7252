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

/// What a terminal obeys or nobody sees written out, but for the characters to be kept: control characters (\n, \x1b), those
/// without width and those that turn the direction of writing (\u{202e}), and bytes that are no UTF-8 (\xff).
std::string escaped(std::string const& text, std::string_view kept = "");

/// The columns that a terminal takes for a text in UTF-8.
std::size_t width(std::string const& text);

/// As much of the text as has room in so many columns.
std::string beginning(std::string const& text, std::size_t columns);

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
