// Others work through the telephone of this process, by the same words as its own commands.
#pragma once

#include "cli/Invocation.h"
#include "holder/ChangeFeed.h"
#include "holder/Server.h"

#include <memory>
#include <string>

namespace Tool {

/// Lets other processes use this one's telephone as long as it lives.
class Serving {
public:
    /// The invocation has a workbench and outlives it.
    explicit Serving(Invocation& holder);
    ~Serving();
    Serving(Serving const&) = delete;
    Serving& operator=(Serving const&) = delete;

    Server* server() const { return m_server.get(); }        ///< null when it could not be
    std::string const& failure() const { return m_failure; } ///< why

private:
    Invocation& m_holder;
    ChangeFeed m_feed;
    std::string m_failure;
    std::unique_ptr<Server> m_server;
};

} // namespace Tool
