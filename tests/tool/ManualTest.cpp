// The manual page says of every verb what the registry says: what it takes, its options and their choices.
#include "ToolRunner.h"

#include "cli/Registry.h"

namespace ToolTest {

using Tool::Argument;
using Tool::Words;

/// A line of the page without its markup and blanks.
std::string seen(std::string line)
{
    line.erase(0, line.starts_with('.') ? line.find(' ') : 0);
    std::erase_if(line, [](char letter) { return std::strchr(" \\\"", letter) != nullptr; });
    return line;
}

/// By heading, the macros of paragraphs as they are.
std::map<std::string, Words> partsOfPage()
{
    std::istringstream page(contentOf(MEDIADATA_SOURCE_DIR "/docs/mediadata.1"));
    std::map<std::string, Words> parts;
    auto* part = &parts[".SH"];
    for (std::string line; std::getline(page, line);)
        if (line.starts_with(".S"))
            part = &parts[line.starts_with(".SH") ? line : seen(line.substr(4))];
        else
            part->push_back(line == ".TP" || line == ".PP" ? line : seen(line));
    return parts;
}

/// As the page would say it, without blanks.
std::string written(Argument const& argument)
{
    if (argument.isOption())
        return seen(argument.name + argument.value);
    bool const isMany = std::holds_alternative<Words*>(argument.target);
    auto const name = argument.name + (isMany ? "..." : "");
    return argument.isRequired ? name : "[" + name + "]";
}

/// `options` are those that the page has before the registry's.
void expectArguments(std::vector<Argument> const& arguments, Words const& part, Words options)
{
    auto const text = std::accumulate(part.begin(), part.end(), std::string());
    for (auto const& argument : arguments) {
        if (argument.isOption())
            options.push_back(written(argument));
        for (auto const& choice : argument.choices)
            EXPECT_NE(text.find(choice), std::string::npos) << written(argument) << ' ' << choice;
    }
    Words found;
    for (auto line = part.begin(); (line = std::find(line, part.end(), ".TP")) != part.end();)
        found.push_back(*++line);
    EXPECT_EQ(found, options);
}

TEST(Manual, SaysOfEachVerbWhatTheRegistrySays)
{
    Tool::Registry const registry(Tool::Place::Process);
    auto parts = partsOfPage();
    expectArguments(registry.arguments, parts[".SH OPTIONS"], {"-h,--help"});
    for (auto const& verb : registry.verbs) {
        if (std::holds_alternative<Tool::Group>(verb.action))
            continue;
        auto const name = seen(verb.name);
        ASSERT_TRUE(parts.contains(name)) << verb.name;
        auto const& part = parts[name];
        Words synopsis{name};
        for (auto const& argument : verb.arguments)
            if (!argument.isOption())
                synopsis.push_back(written(argument));
        EXPECT_EQ(Words(part.begin(), std::find(part.begin(), part.end(), ".PP")), synopsis);
        expectArguments(verb.arguments, part, {});
        parts.erase(name);
    }
    for (auto const& [heading, part] : parts)
        EXPECT_TRUE(heading.starts_with(".SH")) << heading << " is no verb";
}

} // namespace ToolTest
