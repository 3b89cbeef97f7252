// What a request gets: a file of the page, a session, the events, or the answer of a command. It knows nothing of connections.
#pragma once

#include "web/Access.h"
#include "web/Events.h"
#include "web/Routes.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <variant>

namespace Tool::Web {

/// What programs are told about the telephone.
struct SiteFacts {
    std::string user;
    std::string directory;
    bool isReadOnly = false;
    std::function<std::string()> model = {};
};

/// The request wants the events behind a place.
struct Follow {
    std::optional<Place> after;
};

class Site {
public:
    /// `log` is told of refused tokens, `tokenUsed` that there is a new token.
    Site(Access& access, SiteFacts facts, std::function<void(std::string const&)> log, std::function<void()> tokenUsed);

    /// The answer to a request whose body is not wanted; nothing when answer() is to be asked with all of it.
    std::optional<Answer> answerAtHead(Request const& request);
    std::variant<Answer, Command, Follow> answer(Request const& request);

    /// What the events' hello says of the telephone.
    Json hello() const;

private:
    Answer page(Request const& request, Target const& target);
    Answer session(Request const& request);
    void tellRefused(Request const& request);

    Access& m_access;
    SiteFacts const m_facts;
    std::function<void(std::string const&)> const m_log;
    std::function<void()> const m_tokenUsed;
    std::chrono::steady_clock::time_point m_nextLog = {};
    std::size_t m_untold = 0; ///< tokens that were refused meanwhile
};

} // namespace Tool::Web
