#include "cli/SplitWords.h"

namespace Tool {

bool splitWords(std::string const& line, std::vector<std::string>& words)
{
    words.clear();
    char quote = 0;
    bool inWord = false;
    for (std::size_t at = 0; at < line.size(); ++at) {
        char const c = line[at];
        if (quote == 0 && (c == ' ' || c == '\t')) {
            inWord = false;
            continue;
        }
        if (!inWord)
            words.emplace_back();
        inWord = true;
        if (c == '\\' && quote != '\'' && at + 1 < line.size())
            words.back() += line[++at];
        else if (c == quote)
            quote = 0;
        else if (quote == 0 && (c == '\'' || c == '"'))
            quote = c;
        else
            words.back() += c;
    }
    return quote == 0;
}

} // namespace Tool
