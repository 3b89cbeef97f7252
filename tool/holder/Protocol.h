// What the tool says over the socket of a data directory: lists of texts, of which none is longer or nested deeper than
// fixed, so that no input can do harm. The parsing functions are pure functions on bytes.
//
// The client sends a request; the holder of the directory answers {begin}, then {out, bytes} and {err, bytes} as
// they come, then {end, status}; {ready} means that changes are followed from now on. {ask, what} instead of the end means
// that the command needs something of the client's: the request has to be sent again with it. {refuse, why} instead of all
// that is what every version of the protocol understands.
#pragma once

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Tool {

/// On the wire "LENGTH:TEXTS,", where TEXTS are the texts in the same form, one after the other.
using Message = std::vector<std::string>;

inline constexpr std::size_t longestMessage = std::size_t{8} << 20U; ///< bytes between ":" and ","
inline constexpr std::size_t mostTexts = 65536;

std::string encode(Message const& message);

enum class Decoded { Whole, Partial, Malformed };

/// Cuts the message at the beginning of `bytes` off. Partial and malformed bytes stay as they are; what can never become a
/// message is malformed at once.
Decoded takeMessage(std::string& bytes, Message& message);

/// One command as its sender gave it.
struct Request {
    std::vector<std::string> words;
    std::string directory;
    bool colourOut = false;
    bool colourErr = false;
    bool outIsTerminal = false;
    std::size_t columns = 80;                                       ///< the width of its output
    std::map<std::string, std::optional<std::string>> answers = {}; ///< to what was asked; nothing: could not be had
};

/// Where the answers tell why what was asked for could not be had.
inline std::string reasonOf(std::string const& asked)
{
    return "why " + asked;
}

Message toMessage(Request const& request);

/// What is wrong with the version that a request begins with; empty when it is this one.
std::string versionFault(Message const& request);

/// False with `error` for what is no request of this version.
bool parseRequest(Message const& message, Request& request, std::string& error);

} // namespace Tool
