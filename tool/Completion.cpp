// Completion of verbs, names and legal values.
#include "Flags.h"
#include "Items.h"
#include "Shell.h"
#include "Tables.h"

#include "Data/DataItemBuilder.h"

#include <algorithm>
#include <map>
#include <sstream>
#include <utility>

namespace Tool {

using namespace Data;

namespace {

/// Longer ranges are no help to anybody.
constexpr int mostValues = 20;

using Words = std::vector<std::string>;

Words legalValues(eDataTag tag)
{
    using Builder = DataCache::DataItemBuilder;
    if (typeOf(tag) == eDataItemTypeBool)
        return {"true", "false"};
    auto const* const chain = Builder::dataItemDefaultTable[tag].valueChain;
    if (!chain)
        return {};
    auto const& [builder, parameters] = chain[0];
    Words values;
    if (builder == &Builder::dataValidatorStringsAllowed) {
        std::istringstream list(parameters[0].text);
        for (std::string value; std::getline(list, value, parameters[1].text.front());)
            values.push_back(value);
    } else if (builder == &Builder::dataValidatorIntRange) {
        int const first = std::stoi(parameters[0].text);
        int const last = std::stoi(parameters[1].text);
        for (int value = first; last - first < mostValues && value <= last; ++value)
            values.push_back(std::to_string(value));
    }
    return values;
}

/// Every name of every item, each followed by `after`.
Words itemNames(char const* after = "")
{
    Words names;
    for (auto const tag : allTags()) {
        for (auto const& name : namesOf(tag))
            names.push_back(name + after);
    }
    return names;
}

/// The words that a verb takes besides items.
Words wordsOf(std::string const& verb)
{
    static std::map<std::string, Words> const fixed{
        {"reset", {"audio"}},
        {"table", tableNames()},
        {"flags", flagNames()},
        {"mobility", {"all", "managed", "unmanaged"}},
        {"mgmt", {"get", "set", "changed", "reset-user-data", "journal"}},
        {"catalogue", {"--format"}},
        {"country", {}},
        {"device", {"--model", "--usb"}},
    };
    auto const found = fixed.find(verb);
    return found == fixed.end() ? itemNames() : found->second;
}

bool takesValues(Words const& words)
{
    return words.front() == "set" ||
           (words.front() == "mgmt" && words.size() > 1 && (words[1] == "set" || words[1] == "changed"));
}

Words candidates(Words const& words, std::string const& word)
{
    if (words.empty())
        return verbNames();
    if (!takesValues(words)) {
        bool const isManagement = words.front() == "mgmt" && words.size() > 1;
        return isManagement && words[1] == "get" ? itemNames() : isManagement ? Words{} : wordsOf(words.front());
    }
    auto const equals = word.find('=');
    if (equals == std::string::npos)
        return itemNames("=");
    Words values;
    if (auto const tag = findItem(word.substr(0, equals))) {
        for (auto const& value : legalValues(*tag))
            values.push_back(word.substr(0, equals + 1) + value);
    }
    return values;
}

} // namespace

Words completions(Words const& words, std::string const& word)
{
    auto result = candidates(words, word);
    std::erase_if(result, [&](std::string const& candidate) { return candidate.rfind(word, 0) != 0; });
    std::sort(result.begin(), result.end());
    result.erase(std::unique(result.begin(), result.end()), result.end());
    return result;
}

} // namespace Tool
