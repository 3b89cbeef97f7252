// Several texts in one, each behind its length: "7:ringers1:5". A text that is not there at all is "-:".
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Host {

void appendText(std::string& list, std::string_view text);
void appendNoText(std::string& list);

/// Takes the next text from the front of the rest, of which it is a part; nothing in it when it is not there. False, and nothing is
/// taken, when there is none of this form.
bool takeText(std::string_view& rest, std::optional<std::string_view>& text);
bool takeText(std::string_view& rest, std::string& text); ///< which must be there

} // namespace Host
