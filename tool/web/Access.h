// Who may ask: each check of a request's head stands here, in the order in which they are made.
#pragma once

#include "web/Http.h"

#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tool::Web {

struct AccessOptions {
    unsigned int port = 0;
    bool isSecure = false;               ///< TLS
    std::vector<std::string> names = {}; ///< of this host, beside addresses and localhost
    std::string bearer = {};             ///< of programs; empty: none is let in
};

class Access {
public:
    explicit Access(AccessOptions options);

    /// What is wrong with the request's form, length or place. To be asked first.
    std::optional<Answer> refuse(Request const& request) const;

    /// The request comes from another site's page.
    bool isForeign(Request const& request) const;

    enum class Known { Nobody, Session, Program };
    Known knows(Request const& request) const;
    /// It had a token or one of our cookies all the same.
    bool hasTried(Request const& request) const;

    /// Where the next session begins; its token is another one afterwards. `host` may have a port.
    std::string address(std::string_view host) const;
    bool takeToken(std::string_view token);

    /// Begins a session: the value of Set-Cookie.
    std::string beginSession();
    /// Ends the request's session: likewise.
    std::string endSession(Request const& request);

private:
    std::string origin(std::string_view host) const;
    bool isOurHost(std::string_view host) const;
    std::vector<std::string_view> cookiesOf(Request const& request) const;

    AccessOptions const m_options;
    std::string const m_cookieName; ///< with the port: cookies know no ports
    std::string m_token;
    std::deque<std::string> m_sessions; ///< the latest ones
};

/// 144 random bits as letters, digits, "-" and "_".
std::string randomToken();

} // namespace Tool::Web
