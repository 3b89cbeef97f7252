#include "verbs/Arguments.h"

#include "workbench/Accepted.h"
#include "workbench/Items.h"
#include "workbench/Meanings.h"

#include <algorithm>
#include <utility>

namespace Tool {

namespace {

std::string described(std::string word, std::string_view description)
{
    return description.empty() ? word : (word += '\t').append(description);
}

/// Every name of every item, each followed by `after` and described.
Words namesFollowedBy(char const* after)
{
    Words names;
    for (auto const tag : allTags()) {
        for (auto const& name : namesOf(tag))
            names.push_back(described(name + after, helpOf(tag)));
    }
    return names;
}

} // namespace

Words Offers::items(std::string const&)
{
    return namesFollowedBy("");
}

Offer Offers::itemsAnd(Words const& fixed)
{
    return [fixed](std::string const& word) {
        auto words = items(word);
        words.insert(words.begin(), fixed.begin(), fixed.end());
        return words;
    };
}

Words Offers::assignments(std::string const& word)
{
    auto const equals = word.find('=');
    if (equals == std::string::npos)
        return namesFollowedBy("=");
    Words values;
    if (auto const tag = findItem(word.substr(0, equals))) {
        auto const name = [&](std::string const& value) {
            auto const known = namedNumbersOf(*tag);
            auto const found =
                std::ranges::find_if(known, [&](NamedNumber const& each) { return std::to_string(each.number) == value; });
            return found == known.end() ? std::string_view() : found->name;
        };
        for (auto const& value : legalValues(*tag))
            values.push_back(described(word.substr(0, equals + 1) + value, name(value)));
    }
    return values;
}

Words Offers::files(std::string const&)
{
    return {":file"};
}

Words Offers::directories(std::string const&)
{
    return {":directory"};
}

Offer Offers::words(Words const& fixed)
{
    return [fixed](std::string const&) { return fixed; };
}

Argument Arguments::items(Target target, std::string help)
{
    return {
        .name = "ITEM", .target = std::move(target), .help = std::move(help), .isRequired = true, .offer = Offers::items};
}

Argument Arguments::pattern(std::string* target)
{
    return {.name = "PATTERN", .target = target, .help = "A glob with * or ?, or a part of a name", .offer = Offers::items};
}

Argument Arguments::readyDescriptor(Lasting& lasting)
{
    return {.name = "--ready-fd",
            .target = &lasting.descriptor,
            .help = "When it is ready, write \"ready\" to this descriptor and close it",
            .value = "NUMBER",
            .range = {{3, 1000000}}};
}

Argument Arguments::assignments(Words* target, std::string help)
{
    return {.name = "ITEM=VALUE", .target = target, .help = std::move(help), .offer = Offers::assignments};
}

Argument Arguments::dryRun(Target target, std::string help)
{
    return {.name = "--dry-run", .target = std::move(target), .help = std::move(help)};
}

Argument Arguments::atomic(Target target, std::string help)
{
    return {.name = "--atomic", .target = std::move(target), .help = std::move(help)};
}

Argument Arguments::yes(Target target)
{
    return {.name = "--yes", .target = std::move(target), .help = "Do not ask before texts are wiped that somebody has set"};
}

Verb itemVerb(std::string name, std::string help, Report (*run)(Workbench& workbench, Data::eDataTag tag))
{
    auto const item = std::make_shared<std::string>();
    return {.name = std::move(name),
            .help = std::move(help),
            .arguments = {Arguments::items(item.get(), "A name, or a tag number")},
            .action = [item, run](Workbench& workbench) {
                auto const tag = findItem(*item);
                return tag ? run(workbench, *tag) : unknownItem(*item);
            }};
}

} // namespace Tool
