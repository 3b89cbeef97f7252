// Completion of verbs, names and legal values.
#include "verbs/Shell.h"
#include "verbs/Table.h"
#include "workbench/Accepted.h"
#include "workbench/FlagFile.h"
#include "workbench/Items.h"

#include <algorithm>
#include <map>
#include <ostream>
#include <utility>

namespace Tool {

using namespace Data;

namespace {

using Words = std::vector<std::string>;

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
        {"reset", {"audio", "user-data"}},
        {"table", tableNames()},
        {"flags", flagNames()},
        {"mobility", {"all", "managed", "unmanaged"}},
        {"mgmt", {"get", "set", "changed", "reset-user-data", "journal"}},
        {"catalogue", {"--format"}},
        {"country", {}},
        {"device", {"--model", "--usb"}},
        {"import", {":file"}},
        {"diff", {":file"}},
        {"export", {}},
        {"shell", {}},
        {"serve", {}},
    };
    auto const found = fixed.find(verb);
    return found == fixed.end() ? itemNames() : found->second;
}

bool takesValues(Words const& words)
{
    return words.front() == "set" ||
           (words.front() == "mgmt" && words.size() > 1 && (words[1] == "set" || words[1] == "changed"));
}

/// What stands behind an option that takes a value.
Words valuesOf(std::string const& option)
{
    static std::map<std::string, Words> const fixed{
        {"--color", {"auto", "always", "never"}},
        {"--format", {"tsv", "json", "markdown"}},
        {"--log-level", {"0", "2", "3", "5", "6"}},
        {"--model", {"entry", "top", "other"}},
        {"--usb", {"yes", "no"}},
        {"--file", {":file"}},
        {"--passphrase-file", {":file"}},
        {"--data-dir", {":directory"}},
    };
    auto const found = fixed.find(option);
    return found == fixed.end() ? Words{} : found->second;
}

Words candidates(Words const& words, std::string const& word)
{
    auto const equals = word.find('=');
    if (words.front() == "flags" && equals != std::string::npos)
        return {word.substr(0, equals) + "=true", word.substr(0, equals) + "=false"};
    if (!takesValues(words)) {
        bool const isManagement = words.front() == "mgmt" && words.size() > 1;
        return isManagement && words[1] == "get" ? itemNames() : isManagement ? Words{} : wordsOf(words.front());
    }
    if (equals == std::string::npos)
        return itemNames("=");
    Words values;
    if (auto const tag = findItem(word.substr(0, equals))) {
        for (auto const& value : legalValues(*tag))
            values.push_back(word.substr(0, equals + 1) + value);
    }
    return values;
}

/// The line without its options.
struct Line {
    Words verbs;
    std::string openOption; ///< the last word is an option that waits for its value
};

Line withoutOptions(Words const& words, std::vector<OptionName> const& known)
{
    Line line;
    for (auto const& word : words) {
        if (!std::exchange(line.openOption, "").empty())
            continue;
        if (!word.starts_with('-'))
            line.verbs.push_back(word);
        else if (std::any_of(known.begin(), known.end(),
                             [&](auto const& each) { return each.takesValue && each.name == word; }))
            line.openOption = word;
    }
    return line;
}

Words allCandidates(Words const& words, std::string const& word, bool inShell)
{
    auto const line = withoutOptions(words, optionNames(words, inShell));
    if (!line.openOption.empty())
        return valuesOf(line.openOption);
    if (word.starts_with('-')) {
        Words names;
        auto const equals = word.find('=');
        for (auto const& value : equals != std::string::npos ? valuesOf(word.substr(0, equals)) : Words{})
            names.push_back(value.starts_with(':') ? value : word.substr(0, equals + 1) + value);
        if (equals != std::string::npos)
            return names;
        for (auto const& [name, takesValue] : optionNames(line.verbs, inShell))
            names.push_back(name);
        return names;
    }
    auto verbs = verbNames(inShell);
    if (line.verbs.empty())
        return verbs;
    bool const isKnown = std::find(verbs.begin(), verbs.end(), line.verbs.front()) != verbs.end();
    return isKnown ? candidates(line.verbs, word) : Words{};
}

} // namespace

Words completions(Words const& words, std::string const& word, bool inShell)
{
    auto result = allCandidates(words, word, inShell);
    if (result.size() == 1 && result.front().starts_with(':'))
        return result;
    std::erase_if(result, [&](std::string const& candidate) { return !candidate.starts_with(word); });
    std::sort(result.begin(), result.end());
    result.erase(std::unique(result.begin(), result.end()), result.end());
    return result;
}

int complete(Words words, std::ostream& out)
{
    if (words.size() == 2 && words.front() == "--line") {
        bool const isNewWord = words[1].empty() || words[1].ends_with(' ') || words[1].ends_with('\t');
        splitWords(std::string(words[1]), words);
        words.erase(words.begin(), words.begin() + (words.empty() ? 0 : 1)); // The program's name.
        if (isNewWord)
            words.emplace_back();
    } else if (!words.empty() && words.front() == "--") {
        words.erase(words.begin());
    }
    if (words.empty())
        words.emplace_back();
    auto const word = words.back();
    words.pop_back();
    for (auto const& each : completions(words, word, false))
        out << each << '\n';
    return exitOk;
}

} // namespace Tool
