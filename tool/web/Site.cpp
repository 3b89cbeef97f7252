#include "web/Site.h"

#include "web/Page.h"

#include <utility>

#include <fmt/format.h>

namespace Tool::Web {

namespace {

using namespace std::chrono_literals;

constexpr auto betweenLogs = 1s;

bool isRead(Request const& request)
{
    return request.method == "GET" || request.method == "HEAD";
}

Answer onlyReads()
{
    auto answer = problem(405, "this can only be read");
    answer.headers.emplace_back("Allow", "GET, HEAD");
    return answer;
}

Answer unknown()
{
    auto answer =
        problem(401, "neither the cookie of a session nor the token of a program; mediadata web prints an address for both");
    answer.headers.emplace_back("WWW-Authenticate", "Bearer");
    return answer;
}

Answer json(Json const& value)
{
    return {200, value.dump(-1, ' ', false, Json::error_handler_t::replace), "application/json", {}};
}

} // namespace

Site::Site(Access& access, SiteFacts facts, std::function<void(std::string const&)> log, std::function<void()> tokenUsed)
    : m_access(access), m_facts(std::move(facts)), m_log(std::move(log)), m_tokenUsed(std::move(tokenUsed))
{}

std::optional<Answer> Site::answerAtHead(Request const& request)
{
    if (auto refusal = m_access.refuse(request))
        return refusal;
    auto const target = parseTarget(request.target);
    if (!target)
        return problem(400, "the request's target is no path");
    if (!target->path.starts_with("/api/"))
        return page(request, *target);
    if (!target->path.starts_with(apiPrefix))
        return problem(404, "the interface for programs is at " + std::string(apiPrefix));
    if (m_access.isForeign(request))
        return problem(403, "the request comes from another site");
    if (m_access.knows(request) == Access::Known::Nobody) {
        if (m_access.hasTried(request))
            tellRefused(request);
        return unknown();
    }
    return std::nullopt;
}

std::variant<Answer, Command, Follow> Site::answer(Request const& request)
{
    auto const target = parseTarget(request.target);
    auto const path = target->path.substr(apiPrefix.size());
    if (path == "session")
        return session(request);
    if (path == "events") {
        auto const given = request.header("Last-Event-ID");
        auto const after = given.empty() ? target->find("after").value_or("") : std::string(given);
        if (request.method == "HEAD") // The library sends the last chunk of an answer without length.
            return Answer{200, "", "text/event-stream"};
        return isRead(request) ? std::variant<Answer, Command, Follow>(Follow{parsePlace(after)}) : onlyReads();
    }
    auto command = commandFor(request, *target);
    auto const* const found = std::get_if<Command>(&command);
    if (!found)
        return std::get<Answer>(std::move(command));
    if (found->changes && m_facts.isReadOnly)
        return problem(403, "nothing is changed here: it was started with --read-only");
    return std::get<Command>(std::move(command));
}

Json Site::hello() const
{
    return {{"number", 0},
            {"directory", m_facts.directory},
            {"model", m_facts.model()},
            {"readOnly", m_facts.isReadOnly},
            {"resumed", false}};
}

/// The page's files hold nothing that is worth a check. The token in the address of "/" is used up.
Answer Site::page(Request const& request, Target const& target)
{
    if (!isRead(request))
        return onlyReads();
    auto const token = target.path == "/" ? target.find("token") : std::nullopt;
    if (!token) {
        auto file = pageFile(target.path, request.header("If-None-Match"));
        return file ? *std::move(file) : problem(404, "nothing is at " + target.path);
    }
    if (!m_access.takeToken(*token)) {
        // A second use by who has a session, the back key say, leads to the page, too.
        if (m_access.knows(request) == Access::Known::Session)
            return {303, "", "text/plain", {{"Location", "/"}}};
        tellRefused(request);
        return unknown();
    }
    m_tokenUsed();
    return {303, "", "text/plain", {{"Location", "/"}, {"Set-Cookie", m_access.beginSession()}}};
}

/// What a session is, an address that begins one in a browser, or its end.
Answer Site::session(Request const& request)
{
    if (isRead(request))
        return json({{"user", m_facts.user},
                     {"directory", m_facts.directory},
                     {"readOnly", m_facts.isReadOnly},
                     {"version", MEDIADATA_VERSION}});
    if (request.method == "POST")
        return json({{"address", m_access.address(request.header("Host"))}});
    if (request.method == "DELETE")
        return {204, "", "application/json", {{"Set-Cookie", m_access.endSession(request)}}};
    return {
        405, problem(405, "there is DELETE, GET, POST").body, "application/problem+json", {{"Allow", "DELETE, GET, POST"}}};
}

/// At most one line a second, whoever asks how often.
void Site::tellRefused(Request const& request)
{
    ++m_untold;
    auto const now = std::chrono::steady_clock::now();
    if (now < m_nextLog)
        return;
    m_nextLog = now + betweenLogs;
    m_log(m_untold == 1 ? fmt::format("refused a token from {}", request.peer)
                        : fmt::format("refused {} tokens, the last from {}", m_untold, request.peer));
    m_untold = 0;
}

} // namespace Tool::Web
