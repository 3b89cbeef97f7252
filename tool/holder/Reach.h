// Who has a data directory: this process, or another one that runs the command for it.
#pragma once

#include "workbench/Workbench.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Tool {

class Console;

/// What for: an answer, changes as they come, or to hold it and serve others.
enum class Wish { Answer, Changes, Hold };

/// What became of it.
struct Reached {
    std::unique_ptr<Workbench> workbench = {}; ///< this process has the directory
    std::optional<int> status = {};            ///< another one has run the command, with this exit status
    std::string failure = {};                  ///< neither, and why
};

/// Opens the data directory, unless another process serves it, which then runs the command of these words. Waits up to `patience`
/// for a process that has the directory, whether it serves others or not.
Reached reach(Options const& options, Console& console, std::vector<std::string> const& words, Wish wish,
              std::chrono::seconds patience);

} // namespace Tool
