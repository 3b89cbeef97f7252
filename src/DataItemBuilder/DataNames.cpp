// The name constants, made before every other static object of the library.
#include "Data/DataNames.h"

namespace Data {

namespace {

/// Out of line, since it is called once for each of more than a thousand names.
[[gnu::noinline]] std::string makeName(char const* text)
{
    return text;
}

} // namespace

#define SETTING_NAME(constant, text) [[gnu::init_priority(101)]] std::string const constant = makeName(text);
#include "Data/settings.def"

} // namespace Data
