#include "verbs/Offers.h"

#include "workbench/Accepted.h"
#include "workbench/Items.h"

namespace Tool::Offers {

namespace {

/// Every name of every item, each followed by `after`.
Words namesFollowedBy(char const* after)
{
    Words names;
    for (auto const tag : allTags()) {
        for (auto const& name : namesOf(tag))
            names.push_back(name + after);
    }
    return names;
}

} // namespace

Words items(std::string const&)
{
    return namesFollowedBy("");
}

Words assignments(std::string const& word)
{
    auto const equals = word.find('=');
    if (equals == std::string::npos)
        return namesFollowedBy("=");
    Words values;
    if (auto const tag = findItem(word.substr(0, equals))) {
        for (auto const& value : legalValues(*tag))
            values.push_back(word.substr(0, equals + 1) + value);
    }
    return values;
}

Words files(std::string const&)
{
    return {":file"};
}

Words directories(std::string const&)
{
    return {":directory"};
}

Offer words(Words const& fixed)
{
    return [fixed](std::string const&) { return fixed; };
}

} // namespace Tool::Offers
