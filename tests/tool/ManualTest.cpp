// The manual page says of every verb what the registry says: what it takes, and its options.
#include "ToolRunner.h"

#include "cli/Registry.h"

namespace ToolTest {

/// A line of the page without its markup and blanks.
std::string seen(std::string line)
{
    line.erase(0, line.starts_with('.') ? line.find(' ') : 0);
    std::erase_if(line, [](char letter) { return std::strchr(" \\\"", letter) != nullptr; });
    return line;
}

/// As the page would say it.
std::string written(Tool::Argument const& argument)
{
    if (argument.isOption())
        return seen((argument.letter.empty() ? "" : argument.letter + ",") + argument.name + argument.value);
    auto const name = argument.name + (std::holds_alternative<Words*>(argument.target) ? "..." : "");
    return argument.isRequired ? name : "[" + name + "]";
}

TEST(Manual, SaysOfEachVerbWhatTheRegistrySays)
{
    Tool::Registry const registry(Tool::Place::Process);
    std::map<std::string, Words> expected{{".SH OPTIONS", {"-h,--help"}}}, found;
    for (auto const& argument : registry.arguments)
        expected[".SH OPTIONS"].push_back(written(argument));
    for (auto verb : registry.verbs) {
        if (std::holds_alternative<Tool::Group>(verb.action))
            continue;
        std::stable_partition(verb.arguments.begin(), verb.arguments.end(), std::not_fn(&Tool::Argument::isOption));
        auto& texts = expected[seen(verb.name)] = {seen(verb.name)};
        std::ranges::transform(verb.arguments, std::back_inserter(texts), written);
    }
    std::istringstream page(contentOf(MEDIADATA_SOURCE_DIR "/docs/mediadata.1"));
    std::string heading, previous;
    bool isSynopsis = false;
    for (std::string line; std::getline(page, line); previous = line) {
        isSynopsis = line.starts_with(".SS") || (isSynopsis && line != ".PP");
        if (line.starts_with(".S"))
            heading = line.starts_with(".SH") ? line : seen(line);
        else if (isSynopsis || previous == ".TP")
            found[heading].push_back(seen(line));
    }
    std::erase_if(found, [](auto const& each) { return each.first.starts_with(".SH") && each.first != ".SH OPTIONS"; });
    EXPECT_EQ(found, expected);
}

} // namespace ToolTest
