#include "web/Http.h"

#include <algorithm>
#include <array>

#include <strings.h>

namespace Tool::Web {

namespace {

struct Title {
    int status;
    std::string_view words;
};

constexpr std::array titles{
    Title{200, "OK"},
    Title{204, "No Content"},
    Title{303, "See Other"},
    Title{304, "Not Modified"},
    Title{400, "Bad Request"},
    Title{401, "Unauthorized"},
    Title{403, "Forbidden"},
    Title{404, "Not Found"},
    Title{405, "Method Not Allowed"},
    Title{409, "Conflict"},
    Title{413, "Content Too Large"},
    Title{415, "Unsupported Media Type"},
    Title{421, "Misdirected Request"},
    Title{422, "Unprocessable Content"},
    Title{431, "Request Header Fields Too Large"},
    Title{500, "Internal Server Error"},
    Title{503, "Service Unavailable"},
    Title{507, "Insufficient Storage"},
};

} // namespace

bool isSameName(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && ::strncasecmp(a.data(), b.data(), a.size()) == 0;
}

std::string_view Request::header(std::string_view name) const
{
    auto const found = std::ranges::find_if(headers, [=](auto const& each) { return isSameName(each.first, name); });
    return found == headers.end() ? std::string_view() : std::string_view(found->second);
}

std::size_t Request::count(std::string_view name) const
{
    auto const isMeant = [=](auto const& each) { return isSameName(each.first, name); };
    return static_cast<std::size_t>(std::ranges::count_if(headers, isMeant));
}

bool Request::hasBody() const
{
    return count("Transfer-Encoding") != 0 || (count("Content-Length") != 0 && header("Content-Length") != "0");
}

std::string_view titleOf(int status)
{
    auto const* const found = std::ranges::find(titles, status, &Title::status);
    return found == titles.end() ? "Error" : found->words;
}

Answer problem(int status, std::string const& detail, Json const& more)
{
    Json body{{"type", "about:blank"}, {"title", titleOf(status)}, {"status", status}, {"detail", detail}};
    body.update(more);
    return {status, body.dump(-1, ' ', false, Json::error_handler_t::replace), "application/problem+json", {}};
}

} // namespace Tool::Web
