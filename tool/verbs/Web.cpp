// The telephone's page: `web`. Another program does it, so that the tool does not load what only the page needs.
#include "verbs/WebOptions.h"

#include "cli/Invocation.h"
#include "verbs/Arguments.h"
#include "verbs/Verbs.h"

#include <cstdint>
#include <memory>
#include <regex>
#include <string>

#include <arpa/inet.h>

namespace Tool::Verbs {

namespace {

bool isLoopback(std::string const& address)
{
    in_addr four{};
    in6_addr six{};
    constexpr std::uint32_t loopbackNetwork = 127;
    if (::inet_pton(AF_INET, address.c_str(), &four) == 1)
        return ntohl(four.s_addr) >> 24U == loopbackNetwork;
    return ::inet_pton(AF_INET6, address.c_str(), &six) == 1 && IN6_IS_ADDR_LOOPBACK(&six);
}

/// Checks what can be checked before the data directory is opened.
Report gather(WebOptions& options, Console&)
{
    static std::regex const form(R"((?:([0-9.]+)|\[([0-9a-fA-F:.]+)\]|(localhost)):([0-9]{1,5}))");
    std::smatch parts;
    constexpr int lastPort = 65535;
    if (!std::regex_match(options.listen, parts, form) || std::stoi(parts[4]) > lastPort)
        return failure(exitUsage, options.listen, "is no address with a port: 127.0.0.1:8080, say, or [::1]:8080");
    options.address = parts[3].matched ? "127.0.0.1" : parts[1].str() + parts[2].str();
    options.port = parts[4];
    if (options.certificate.empty() != options.key.empty())
        return failure(exitUsage, "", "--certificate and --key belong together");
    if (options.certificate.empty() && !isLoopback(options.address))
        return failure(exitUsage, options.listen,
                       "others could listen: only the loopback goes without --certificate and --key");
    return {};
}

} // namespace

Verb webVerb()
{
    auto const options = std::make_shared<WebOptions>();
    return {.name = "web",
            .help = "Hold the data directory and serve the telephone's page until SIGTERM",
            .arguments =
                {{.name = "--listen",
                  .target = &options->listen,
                  .help = "Where browsers connect, 127.0.0.1:8080 otherwise; port 0 is any that is free. Other addresses "
                          "than the loopback's want TLS",
                  .value = "ADDRESS:PORT"},
                 {.name = "--read-only", .target = &options->readOnly, .help = "Change nothing for browsers and programs"},
                 {.name = "--token-file",
                  .target = &options->tokenFile,
                  .help = "Let in programs that send what this file holds as bearer token; it is made when it is not there",
                  .value = "FILE",
                  .offer = Offers::files},
                 {.name = "--certificate",
                  .target = &options->certificate,
                  .help = "Speak TLS with this certificate, a PEM file",
                  .value = "FILE",
                  .offer = Offers::files},
                 {.name = "--key",
                  .target = &options->key,
                  .help = "The certificate's key, a PEM file",
                  .value = "FILE",
                  .offer = Offers::files},
                 {.name = "--name",
                  .target = &options->names,
                  .help = "A name by which browsers may know this host; addresses and localhost always do. May be given "
                          "several times",
                  .value = "NAME"},
                 {.name = "--open", .target = &options->open, .help = "Open the page in a browser"},
                 Arguments::readyDescriptor(options->lasting)},
            .places = {Place::Process},
            .action = WhileHolding([options](Holding const& holding) { return holding.invocation.page(*options, holding); }),
            .gather = [options](Console& console) { return gather(*options, console); },
            .lasting = &options->lasting,
            .program = "mediadata-web"};
}

} // namespace Tool::Verbs
