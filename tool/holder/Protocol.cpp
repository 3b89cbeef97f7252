#include "holder/Protocol.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace Tool {

namespace {

constexpr std::string_view greeting = "mediadata 2"; ///< the name of the protocol and its version
constexpr std::size_t longestGreeting = 32;
constexpr char const* malformed = "the request is malformed";
constexpr std::string_view answerPrefix = "answer ";
constexpr std::string_view lackPrefix = "lack ";

void append(std::string& bytes, std::string_view text)
{
    bytes += std::to_string(text.size());
    bytes += ':';
    bytes += text;
    bytes += ',';
}

/// Where the text at the beginning of `bytes` lies, and the bytes up to its end.
struct Found {
    Decoded state = Decoded::Partial;
    std::string_view text = {};
    std::size_t end = 0;
};

Found findText(std::string_view bytes)
{
    constexpr std::size_t longestNumber = 8;
    std::size_t length = 0;
    auto const head = bytes.substr(0, longestNumber + 1);
    auto const [stop, fault] = std::from_chars(head.data(), head.data() + head.size(), length);
    auto const digits = static_cast<std::size_t>(stop - head.data());
    if (bytes.empty() || (fault == std::errc() && digits == bytes.size() && digits <= longestNumber))
        return {};
    if (fault != std::errc() || length > longestMessage || digits >= head.size() || head[digits] != ':')
        return {Decoded::Malformed};
    auto const text = bytes.substr(digits + 1, length);
    auto const end = digits + 1 + length;
    if (end >= bytes.size())
        return {};
    return bytes[end] == ',' ? Found{Decoded::Whole, text, end + 1} : Found{Decoded::Malformed};
}

bool isNumber(std::string const& text, std::size_t& number)
{
    auto const* const end = text.data() + text.size();
    auto const [stop, fault] = std::from_chars(text.data(), end, number);
    return fault == std::errc() && stop == end;
}

} // namespace

std::string encode(Message const& message)
{
    std::string texts;
    for (auto const& text : message)
        append(texts, text);
    std::string bytes;
    append(bytes, texts);
    return bytes;
}

Decoded takeMessage(std::string& bytes, Message& message)
{
    auto const whole = findText(bytes);
    if (whole.state != Decoded::Whole)
        return whole.state;
    Message texts;
    for (auto rest = whole.text; !rest.empty();) {
        auto const found = findText(rest);
        if (found.state != Decoded::Whole || texts.size() == mostTexts)
            return Decoded::Malformed;
        texts.emplace_back(found.text);
        rest.remove_prefix(found.end);
    }
    bytes.erase(0, whole.end);
    message = std::move(texts);
    return Decoded::Whole;
}

Message toMessage(Request const& request)
{
    Message message{std::string(greeting), "directory", request.directory};
    auto const add = [&](std::string name, std::string value) {
        message.push_back(std::move(name));
        message.push_back(std::move(value));
    };
    for (auto const& word : request.words)
        add("word", word);
    for (auto const& [name, isSet] :
         {std::pair{"out", request.colourOut}, {"err", request.colourErr}, {"terminal", request.outIsTerminal}}) {
        if (isSet)
            add("show", name);
    }
    add("columns", std::to_string(request.columns));
    for (auto const& [what, text] : request.answers)
        add(std::string(text ? answerPrefix : lackPrefix) + what, text.value_or(""));
    return message;
}

std::string versionFault(Message const& request)
{
    std::string const given = request.empty() ? "" : request.front();
    auto const name = greeting.substr(0, greeting.find(' ') + 1);
    if (given == greeting)
        return "";
    if (!given.starts_with(name) || given.size() > longestGreeting)
        return malformed;
    return "it speaks " + std::string(greeting) + ", this command " + given + "; both have to be of one version";
}

bool parseRequest(Message const& message, Request& request, std::string& error)
{
    request = {};
    error = malformed;
    if (message.size() % 2 == 0 || message.front() != greeting)
        return false;
    for (std::size_t at = 1; at < message.size(); at += 2) {
        auto const& name = message[at];
        auto const& value = message[at + 1];
        if (name == "word")
            request.words.push_back(value);
        else if (name == "directory")
            request.directory = value;
        else if (name == "columns" && isNumber(value, request.columns))
            continue;
        else if (name == "show" && value == "out")
            request.colourOut = true;
        else if (name == "show" && value == "err")
            request.colourErr = true;
        else if (name == "show" && value == "terminal")
            request.outIsTerminal = true;
        else if (name.starts_with(answerPrefix))
            request.answers[name.substr(answerPrefix.size())] = value;
        else if (name.starts_with(lackPrefix))
            request.answers[name.substr(lackPrefix.size())] = std::nullopt;
        else
            return false;
    }
    error.clear();
    return true;
}

} // namespace Tool
