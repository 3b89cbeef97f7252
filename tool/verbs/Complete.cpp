// What completes a line of a command shell.
#include "verbs/Verbs.h"

#include "cli/Completion.h"
#include "cli/SplitWords.h"

#include <utility>

namespace Tool::Verbs {

Report complete(Words words)
{
    auto descriptions = Descriptions::None;
    if (!words.empty() && words.front() == "--described") {
        descriptions = Descriptions::Shown;
        words.erase(words.begin());
    }
    if (words.size() == 2 && words.front() == "--line") {
        auto const line = words[1];
        splitWords(line, words);
        words.erase(words.begin(), words.begin() + (words.empty() ? 0 : 1)); // The program's name.
        if (line.empty() || line.ends_with(' ') || line.ends_with('\t'))
            words.emplace_back();
    } else if (!words.empty() && words.front() == "--") {
        words.erase(words.begin());
    }
    std::string word;
    if (!words.empty()) {
        word = std::move(words.back());
        words.pop_back();
    }
    std::string lines;
    for (auto const& each : completions(words, word, Place::Process, descriptions))
        lines += each + '\n';
    return {exitOk, {{"completions", Layout::Text, {"text"}, {{std::move(lines)}}}}};
}

} // namespace Tool::Verbs
