// What `web` is told; the program mediadata-web does it.
#pragma once

#include "verbs/Verb.h"

#include <string>

namespace Tool {

struct WebOptions {
    std::string listen = "127.0.0.1:8080"; ///< ADDRESS:PORT; port 0: any that is free
    bool readOnly = false;
    std::string tokenFile;   ///< of programs; made when it is not there
    std::string certificate; ///< PEM files for TLS, both or none
    std::string key;
    Words names;       ///< by which browsers may know this host, beside addresses and localhost
    bool open = false; ///< a browser
    Lasting lasting{"serving"};

    // Of gather(), out of `listen`:
    std::string address; ///< without the brackets of an IPv6 address
    std::string port;
};

} // namespace Tool
