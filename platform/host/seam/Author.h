// Who changes values, as the history tells it.
#pragma once

#include <functional>
#include <string>

namespace Host {

/// A person by his user's name, and by what he does it.
struct Author {
    std::string user;
    std::string process;
    std::string verb; ///< of the tool; empty: none
    std::string door; ///< command, shell, management, page, application
    /// What the doer adds for himself when the change is stored. It must call nothing of the platform or the library.
    std::function<std::string()> note = {};
};

} // namespace Host
