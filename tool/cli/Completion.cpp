#include "cli/Completion.h"

#include "cli/Registry.h"
#include "verbs/Arguments.h"

#include <algorithm>
#include <utility>

namespace Tool {

namespace {

/// The line without its options.
struct Line {
    Words verbs;
    std::string openOption; ///< the last word is an option that waits for its value
};

Line withoutOptions(Registry const& registry, Words const& words)
{
    Line line;
    for (auto const& word : words) {
        if (!std::exchange(line.openOption, "").empty())
            continue;
        auto const* const option = registry.findOption(word, words);
        if (!word.starts_with('-'))
            line.verbs.push_back(word);
        else if (option && option->takesValue())
            line.openOption = word;
    }
    return line;
}

Words offersFor(Argument const* argument, std::string const& word)
{
    if (!argument)
        return {};
    return argument->offer ? argument->offer(word) : argument->choices;
}

/// For a verb that takes nothing but options: those of them that are a choice.
Words optionsWithChoices(Verb const& verb)
{
    Words names;
    for (auto const& argument : verb.arguments) {
        if (!argument.choices.empty())
            names.push_back(argument.name);
    }
    return names;
}

Words wordsFor(Verb const& verb, std::string const& word)
{
    auto const place = std::find_if(verb.arguments.begin(), verb.arguments.end(),
                                    [](Argument const& argument) { return !argument.isOption(); });
    return place == verb.arguments.end() ? optionsWithChoices(verb) : offersFor(&*place, word);
}

Words behindVerbs(Registry const& registry, Words const& words, std::string const& word)
{
    auto const* const verb = registry.find(words.front());
    if (!verb)
        return {};
    if (!std::holds_alternative<Group>(verb->action))
        return wordsFor(*verb, word);
    if (words.size() == 1)
        return registry.verbsBelow(verb->name);
    auto const* const below = registry.find(verb->name + " " + words[1]);
    return below ? wordsFor(*below, word) : Words{};
}

Words optionsLike(Registry const& registry, Words const& verbs, std::string const& word)
{
    auto const equals = word.find('=');
    if (equals == std::string::npos)
        return registry.optionNames(verbs);
    auto values = offersFor(registry.findOption(word.substr(0, equals), verbs), "");
    for (auto& value : values) {
        if (!value.starts_with(':'))
            value.insert(0, word, 0, equals + 1);
    }
    return values;
}

/// What the shell knows besides the verbs.
Words const& wordsOfShell()
{
    static Words const words{"watch", "help", "exit"};
    return words;
}

Words allCandidates(Words const& words, std::string const& word, Place place)
{
    Registry const registry(place);
    auto const line = withoutOptions(registry, words);
    if (!line.openOption.empty())
        return offersFor(registry.findOption(line.openOption, line.verbs), word);
    if (word.starts_with('-'))
        return optionsLike(registry, line.verbs, word);
    if (!line.verbs.empty()) {
        bool const isOfShell = place == Place::Shell && std::find(wordsOfShell().begin(), wordsOfShell().end(),
                                                                  line.verbs.front()) != wordsOfShell().end();
        return isOfShell ? Offers::items(word) : behindVerbs(registry, line.verbs, word);
    }
    auto verbs = registry.verbsBelow();
    if (place == Place::Shell)
        verbs.insert(verbs.end(), wordsOfShell().begin(), wordsOfShell().end());
    return verbs;
}

} // namespace

Words completions(Words const& words, std::string const& word, Place place, Descriptions descriptions)
{
    auto result = allCandidates(words, word, place);
    if (result.size() == 1 && result.front().starts_with(':'))
        return result;
    std::erase_if(result, [&](std::string const& candidate) { return !candidate.starts_with(word); });
    for (auto& candidate : result)
        candidate.resize(descriptions == Descriptions::Shown ? candidate.size()
                                                             : std::min(candidate.find('\t'), candidate.size()));
    std::sort(result.begin(), result.end());
    result.erase(std::unique(result.begin(), result.end()), result.end());
    return result;
}

} // namespace Tool
