#include "web/Access.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <charconv>
#include <utility>

#include <arpa/inet.h>
#include <sodium.h>
#include <strings.h>

namespace Tool::Web {

namespace {

constexpr std::size_t mostSessions = 32;
constexpr std::size_t randomBytes = 18;
constexpr std::string_view bearerPrefix = "Bearer ";

/// Takes as long for each text of the same length.
bool isSame(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && ::sodium_memcmp(a.data(), b.data(), a.size()) == 0;
}

bool isAddress(std::string_view host)
{
    std::array<unsigned char, sizeof(in6_addr)> ignored{};
    if (host.starts_with('[') && host.ends_with(']'))
        return ::inet_pton(AF_INET6, std::string(host.substr(1, host.size() - 2)).c_str(), ignored.data()) == 1;
    return ::inet_pton(AF_INET, std::string(host).c_str(), ignored.data()) == 1;
}

std::optional<std::size_t> lengthOf(Request const& request)
{
    auto const text = request.header("Content-Length");
    std::size_t length = 0;
    auto const [stop, fault] = std::from_chars(text.data(), text.data() + text.size(), length);
    if (fault == std::errc::result_out_of_range)
        return longestBody + 1;
    return fault == std::errc() && stop == text.data() + text.size() ? std::optional(length) : std::nullopt;
}

/// The library takes "Content-Length : 9" for another header and joins a folded line to the name in front of it.
bool isMangled(Fields::value_type const& header)
{
    std::string const& name = header.first;
    auto const isLonger = [&](std::string_view than) {
        return name.size() > than.size() && ::strncasecmp(name.data(), than.data(), than.size()) == 0;
    };
    constexpr std::string_view marks = "!#$%&'*+-.^_`|~";
    bool const isToken = std::ranges::all_of(name, [&](char c) {
        return std::isalnum(static_cast<unsigned char>(c)) != 0 || marks.find(c) != std::string_view::npos;
    });
    return !isToken || isLonger("Content-Length") || isLonger("Transfer-Encoding");
}

/// What two readers of the same bytes could take for different requests.
bool isAmbiguous(Request const& request)
{
    bool const isChunked = request.count("Transfer-Encoding") != 0;
    bool const hasLength = request.count("Content-Length") != 0;
    return (isChunked && (hasLength || request.header("Transfer-Encoding") != "chunked")) ||
           (hasLength && !lengthOf(request)) || request.count("Transfer-Encoding") > 1 ||
           request.count("Content-Length") > 1 || request.count("Host") != 1 ||
           std::ranges::any_of(request.headers, isMangled);
}

bool isJson(std::string_view type)
{
    constexpr std::string_view json = "application/json";
    return type.starts_with(json) && (type.size() == json.size() || type[json.size()] == ';' || type[json.size()] == ' ');
}

} // namespace

std::string randomToken()
{
    std::array<unsigned char, randomBytes> bytes{};
    ::randombytes_buf(bytes.data(), bytes.size());
    std::array<char, sodium_base64_ENCODED_LEN(randomBytes, sodium_base64_VARIANT_URLSAFE_NO_PADDING)> text{};
    return ::sodium_bin2base64(text.data(), text.size(), bytes.data(), bytes.size(),
                               sodium_base64_VARIANT_URLSAFE_NO_PADDING);
}

Access::Access(AccessOptions options)
    : m_options(std::move(options)), m_cookieName("mediadata-" + std::to_string(m_options.port)), m_token(randomToken())
{}

/// A page of another site can have its own name resolved to this host: what it asks for then names that. An address it cannot be.
bool Access::isOurHost(std::string_view host) const
{
    auto const isOurs = [&](std::string_view name) {
        auto const isMeant = [=](std::string const& own) { return isSameName(own, name); };
        return isSameName("localhost", name) || isAddress(name) || std::ranges::any_of(m_options.names, isMeant);
    };
    auto const port = ":" + std::to_string(m_options.port);
    bool const isImplied = m_options.port == (m_options.isSecure ? 443U : 80U);
    return (isImplied && isOurs(host)) || (host.ends_with(port) && isOurs(host.substr(0, host.size() - port.size())));
}

std::optional<Answer> Access::refuse(Request const& request) const
{
    if (isAmbiguous(request))
        return problem(400, "the request's headers leave open where it goes or how long it is");
    if (lengthOf(request).value_or(0) > longestBody)
        return problem(413, "a body has at most 16 MiB");
    if (!isOurHost(request.header("Host")))
        return problem(421, "Host names none of the names of this host; --name adds one");
    if (request.hasBody() && !isJson(request.header("Content-Type")))
        return problem(415, "a body is to be application/json");
    return std::nullopt;
}

bool Access::isForeign(Request const& request) const
{
    auto const site = request.header("Sec-Fetch-Site");
    bool const isOwnSite = site.empty() || site == "same-origin" || site == "none";
    return !isOwnSite || (request.count("Origin") != 0 && request.header("Origin") != origin(request.header("Host")));
}

/// Those with our name: what another program of this host has set under it must not hide the right one.
std::vector<std::string_view> Access::cookiesOf(Request const& request) const
{
    std::vector<std::string_view> cookies;
    for (auto rest = request.header("Cookie"); !rest.empty();) {
        auto const end = std::min(rest.find(';'), rest.size());
        auto const cookie = rest.substr(0, end);
        if (cookie.starts_with(m_cookieName + '=') && cookie.size() > m_cookieName.size() + 1)
            cookies.push_back(cookie.substr(m_cookieName.size() + 1));
        rest.remove_prefix(std::min(rest.find_first_not_of("; ", end), rest.size()));
    }
    return cookies;
}

Access::Known Access::knows(Request const& request) const
{
    for (auto const cookie : cookiesOf(request)) {
        auto const isMeant = [=](std::string const& session) { return isSame(session, cookie); };
        if (std::ranges::any_of(m_sessions, isMeant))
            return Known::Session;
    }
    auto const authorization = request.header("Authorization");
    bool const isProgram = !m_options.bearer.empty() && authorization.starts_with(bearerPrefix) &&
                           isSame(authorization.substr(bearerPrefix.size()), m_options.bearer);
    return isProgram ? Known::Program : Known::Nobody;
}

bool Access::hasTried(Request const& request) const
{
    return request.count("Authorization") != 0 || !cookiesOf(request).empty();
}

std::string Access::address(std::string_view host) const
{
    return origin(host) + "/?token=" + m_token;
}

std::string Access::origin(std::string_view host) const
{
    return (m_options.isSecure ? "https://" : "http://") + std::string(host);
}

bool Access::takeToken(std::string_view token)
{
    if (!isSame(token, m_token))
        return false;
    m_token = randomToken();
    return true;
}

std::string Access::beginSession()
{
    if (m_sessions.size() == mostSessions)
        m_sessions.pop_front();
    m_sessions.push_back(randomToken());
    return m_cookieName + '=' + m_sessions.back() + "; Path=/; HttpOnly; SameSite=Strict" +
           (m_options.isSecure ? "; Secure" : "");
}

std::string Access::endSession(Request const& request)
{
    for (auto const cookie : cookiesOf(request))
        std::erase(m_sessions, cookie);
    return m_cookieName + "=; Path=/; Max-Age=0";
}

} // namespace Tool::Web
