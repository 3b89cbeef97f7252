// A request and its answer, apart from the connection that carries them.
#pragma once

#include "report/Report.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Tool::Web {

using Fields = std::vector<std::pair<std::string, std::string>>;

/// In any letter case.
bool isSameName(std::string_view a, std::string_view b);

inline constexpr std::size_t longestBody = std::size_t{16} << 20U;

struct Request {
    std::string method;
    std::string target; ///< as it came
    Fields headers = {};
    std::string body = {};
    std::string peer = {}; ///< the address at the other end, for people

    /// The header's value, empty when there is none; names in any letter case.
    std::string_view header(std::string_view name) const;
    std::size_t count(std::string_view name) const;
    /// The headers announce a body.
    bool hasBody() const;
};

struct Answer {
    int status = 200;
    std::string body = {};
    std::string type = "application/json";
    Fields headers = {};
};

/// The words for a status, as of RFC 9110.
std::string_view titleOf(int status);

/// A failure as RFC 9457 has it; `more` are its members besides.
Answer problem(int status, std::string const& detail, Json const& more = Json::object());

} // namespace Tool::Web
