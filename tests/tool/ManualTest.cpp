// The manual page says of every verb what the registry says: what it takes, its options and their choices.
#include "ToolRunner.h"

#include "cli/Registry.h"

#include <iomanip>

namespace ToolTest {

using Tool::Argument;
using Tool::Words;

/// What the page says of a verb, or of the options of all verbs.
struct Part {
    std::string synopsis;
    Words options;
    std::string text;
};

/// A line of the page as its reader sees it.
std::string seen(std::string line)
{
    std::erase(line, '\\');
    if (!line.starts_with('.'))
        return line;
    std::istringstream rest(line);
    std::string macro;
    rest >> macro;
    bool const setsBlanks = macro.size() < 3; // .BR and its like do not.
    std::string text;
    for (std::string word; rest >> std::quoted(word);)
        text += (setsBlanks && !text.empty() ? " " : "") + word;
    return text;
}

/// By heading.
std::map<std::string, Part> partsOfPage()
{
    std::istringstream page(contentOf(MEDIADATA_SOURCE_DIR "/docs/mediadata.1"));
    std::map<std::string, Part> parts;
    auto part = parts.end();
    std::string before;
    for (std::string line; std::getline(page, line); before = line) {
        if (line.starts_with(".S"))
            part = parts.try_emplace(line.starts_with(".SH") ? line : seen(line.substr(4))).first;
        else if (before == ".TP")
            part->second.options.push_back(seen(line));
        else if (part != parts.end())
            part->second.text += seen(line) + '\n';
        if (part != parts.end() && line == ".PP" && part->second.synopsis.empty())
            part->second.synopsis = part->second.text;
    }
    return parts;
}

/// As the page would say it.
std::string written(Argument const& argument)
{
    if (argument.isOption())
        return argument.name + (argument.value.empty() ? "" : " " + argument.value);
    bool const isMany = std::holds_alternative<Words*>(argument.target);
    auto const name = argument.name + (isMany ? "..." : "");
    return argument.isRequired ? name : "[" + name + "]";
}

void expectArguments(std::vector<Argument> const& arguments, Part const& part, Words options)
{
    for (auto const& argument : arguments) {
        if (argument.isOption())
            options.push_back(written(argument));
        for (auto const& choice : argument.choices)
            EXPECT_NE(part.text.find(choice), std::string::npos) << written(argument) << ' ' << choice;
    }
    EXPECT_EQ(part.options, options);
}

TEST(Manual, SaysOfEachVerbWhatTheRegistrySays)
{
    Tool::Registry const registry(Tool::Place::Process);
    auto parts = partsOfPage();
    expectArguments(registry.arguments, parts[".SH OPTIONS"], {"-h, --help"});
    for (auto const& verb : registry.verbs) {
        if (std::holds_alternative<Tool::Group>(verb.action))
            continue;
        ASSERT_TRUE(parts.contains(verb.name)) << verb.name;
        auto synopsis = verb.name + '\n';
        for (auto const& argument : verb.arguments)
            synopsis += argument.isOption() ? "" : written(argument) + '\n';
        EXPECT_EQ(parts[verb.name].synopsis, synopsis + '\n');
        expectArguments(verb.arguments, parts[verb.name], {});
        parts.erase(verb.name);
    }
    for (auto const& [heading, part] : parts)
        EXPECT_TRUE(heading.starts_with(".SH")) << heading << " is no verb";
}

} // namespace ToolTest
