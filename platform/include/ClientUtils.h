// Text conversions and the list of secret database elements.
// None of these functions fails, throws or blocks; all may be called from any thread, with or without the cache's lock.
#pragma once

#include <string>

namespace ClientUtils {

/// The decimal text of `value`, with a leading "-" for negatives and no leading zeros.
std::string itos(int value);

/// Reads an optional sign and the digits after it at the start of `text`. Text without digits there gives 0; a number out
/// of range saturates at the limits of int.
int stoi(std::string const& text);

/// "true" or "false".
std::string btos(bool const& value);

/// True for "true" in any letter case, false for everything else.
bool stob(std::string const& text);

/// True when the database element holds a secret (a password or PIN) and is therefore stored encrypted.
bool isKnownPasswordDAS(std::string const& element);

} // namespace ClientUtils
