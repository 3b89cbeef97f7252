// Commands for each of many telephones: the tool runs itself for each, a few at a time.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace Tool {

/// What became of one.
struct ChildEnd {
    int status; ///< its exit status; -1: a signal ended it, or it could not be started
    std::string out;
    std::string err;
};

struct Children {
    std::size_t count;
    std::size_t most; ///< at a time
    int stop;         ///< a descriptor: when it can be read no further ones begin; those under way end in their time

    std::function<std::vector<std::string>(std::size_t index)> words;
    std::string input = {}; ///< the file that each has as its standard input; empty: none

    /// True: a further command for the same one begins at once, even after `stop`.
    std::function<bool(std::size_t index, ChildEnd end)> ended = {};
};

/// Returns when the last has ended. `ended` is called in this thread, for each that began, in the order of their ends.
void runChildren(Children const& children);

} // namespace Tool
