// A request for the page's server: "METHOD TARGET", headers, an empty line and the body. One that names no host is for this one, and
// one without any of these headers has the program's token.
#include "ToolUnderFuzz.h"

#include "web/Commands.h"
#include "web/Site.h"

using namespace Tool;

namespace {

constexpr char const* token = "a program's token";

Web::Request requestOf(std::string const& input)
{
    std::istringstream text(input);
    Web::Request request;
    std::getline(text, request.method, ' ');
    std::getline(text, request.target);
    for (std::string line; std::getline(text, line) && !line.empty();) {
        auto const colon = std::min(line.find(": "), line.size());
        request.headers.emplace_back(line.substr(0, colon), line.substr(std::min(colon + 2, line.size())));
    }
    request.body.assign(std::istreambuf_iterator<char>(text), {});
    if (request.headers.empty())
        request.headers = {{"Authorization", std::string("Bearer ") + token}};
    if (request.count("Host") == 0)
        request.headers.emplace_back("Host", "localhost:1");
    if (!request.body.empty() && request.count("Content-Length") == 0) {
        request.headers.emplace_back("Content-Type", "application/json");
        request.headers.emplace_back("Content-Length", std::to_string(request.body.size()));
    }
    return request;
}

/// Every answer is of this form.
void check(Web::Answer const& answer)
{
    EXPECT_NE(Web::titleOf(answer.status), "Error");
    bool const isJson = answer.type.starts_with("application/") && !answer.body.empty();
    EXPECT_TRUE(!isJson || Json::accept(answer.body)) << answer.body;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    std::string const input(reinterpret_cast<char const*>(data), size);
    auto& tool = Fuzz::ToolUnderFuzz::ready();
    Web::Access access({1, false, {"phone.example"}, token});
    Web::Site site(
        access, {"user", "directory", size % 2 == 0, [] { return "top"; }}, [](auto const&) {}, [] {});
    auto const request = requestOf(input);
    if (auto const answer = site.answerAtHead(request)) {
        check(*answer);
        return 0;
    }
    EXPECT_TRUE(access.knows(request) == Web::Access::Known::Program);
    EXPECT_EQ(request.count("Host"), 1U);
    auto next = site.answer(request);
    if (auto const* const answer = std::get_if<Web::Answer>(&next))
        check(*answer);
    auto const* const command = std::get_if<Web::Command>(&next);
    if (!command)
        return 0;
    EXPECT_FALSE(command->changes && size % 2 == 0) << "it is read-only";
    auto const answer = Web::run(tool.invocation, *command);
    check(answer);
    EXPECT_FALSE(tool.isChanged() && !command->changes) << "what only reads has changed something";
    tool.check(answer.status == 500 ? exitInternal : exitOk, input, answer.body);
    return 0;
}
