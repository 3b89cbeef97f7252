#include "verbs/Diff.h"

#include "workbench/Document.h"
#include "workbench/Items.h"
#include "workbench/Values.h"
#include "workbench/Rules.h"
#include "workbench/Workbench.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>
#include <utility>

namespace Tool {

using namespace Data;

namespace {

/// A word as the shell takes it for itself.
std::string quoted(std::string const& word)
{
    constexpr std::string_view plain = "_./:@%+,=-";
    auto const isPlain = [=](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 || plain.find(c) != std::string_view::npos;
    };
    if (!word.empty() && std::all_of(word.begin(), word.end(), isPlain))
        return word;
    std::string text = "'";
    for (char const c : word)
        text += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return text + "'";
}

struct CommandText {
    std::vector<std::string> verb;
    std::vector<std::string> arguments;

    std::string text() const
    {
        std::string line = "mediadata";
        for (auto const& word : verb)
            line += " " + word;
        for (auto const& word : arguments)
            line += (arguments.size() > 1 ? " \\\n    " : " ") + quoted(word);
        return line;
    }
};

/// What one bulk set has to name. The group-pickup tone type brings its flags along, and the door openers write into the
/// cameras: where a camera is to say something else, that takes a set of its own afterwards.
struct Sets {
    CommandText first{{"set"}, {}};
    CommandText second{{"set"}, {}};
    std::vector<std::string> leftOut;
};

Sets setsFor(Document const& document, bool showSecrets)
{
    Sets sets;
    auto const defaults = defaultDocument().settings;
    auto const links = cameraLinks([&](eDataTag tag) { return document.settings.at(tag); });
    bool const typeChanges = document.settings.at(eDataTagGroupPickupToneType) != defaults.at(eDataTagGroupPickupToneType);
    for (auto const& [tag, value] : document.settings) {
        auto const standard = defaults.find(tag);
        auto const link = links.find(tag);
        auto const given = link != links.end()          ? link->second
                           : standard == defaults.end() ? defaultOf(tag)
                                                        : standard->second;
        bool const isFlag = tag == eDataTagGroupPickupAsRinger || tag == eDataTagGroupPickupToneAllowed;
        if (value == given || (isFlag && typeChanges))
            continue;
        if (isSecret(tag) && !showSecrets)
            sets.leftOut.push_back(nameOf(tag));
        else
            (link != links.end() ? sets.second : sets.first).arguments.push_back(nameOf(tag) + "=" + textOf(value));
    }
    return sets;
}

std::vector<CommandText> commandsFor(Document const& document, Sets sets)
{
    CommandText changed{{"mgmt", "changed"}, {}};
    for (auto const& [name, value] : document.service)
        changed.arguments.push_back(fmt::format("{}={}", name, value));
    CommandText flags{{"flags"}, {}};
    for (auto const& [flag, value] : *document.flags)
        flags.arguments.push_back(fmt::format("{}={}", flag, value));
    CommandText device{{"device"}, {}};
    auto const standard = defaultDocument();
    if (document.model != standard.model)
        device.verb.insert(device.verb.end(), {"--model", *document.model});
    if (document.usb != standard.usb)
        device.verb.insert(device.verb.end(), {"--usb", *document.usb ? "yes" : "no"});
    std::vector<CommandText> all{std::move(sets.first), std::move(sets.second), std::move(device), std::move(flags),
                                 std::move(changed)};
    std::erase_if(all, [](auto const& each) { return each.arguments.empty() && each.verb.size() <= 2; });
    return all;
}

} // namespace

Report diffCommands(Workbench& workbench, bool asRows)
{
    auto const document = documentOf(workbench);
    auto sets = setsFor(document, workbench.options().showSecrets);
    auto const leftOut = sets.leftOut;
    Section rows{"commands", Layout::Table, {"command"}, {}};
    std::string text;
    for (auto const& command : commandsFor(document, std::move(sets))) {
        rows.rows.push_back({command.text()});
        text += command.text() + "\n";
    }
    for (auto const& name : leftOut)
        text += "# left out, a secret: " + name + " (--show-secrets)\n";
    if (text.empty())
        text = "# nothing differs from the defaults\n";
    return {exitOk, {asRows ? rows : Section{"commands", Layout::Text, {"text"}, {{text}}}}};
}

} // namespace Tool
