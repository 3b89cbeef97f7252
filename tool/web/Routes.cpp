#include "web/Routes.h"

#include <algorithm>
#include <iterator>
#include <set>
#include <span>
#include <sstream>

namespace Tool::Web {

namespace {

/// How what is given for a name becomes words.
enum class Kind {
    Flag,   ///< the option, when it is 1 or true
    Option, ///< the option with its value
    Word,   ///< words among those without option, as many as are given
    YesNo   ///< the option with yes or no
};

struct Input {
    std::string_view name;
    std::string_view option = {};
    Kind kind = Kind::Option;
};

/// What a body becomes.
enum class Body {
    None,
    Value,       ///< {"value": V}: the path's item is set to it
    Assignments, ///< {"ITEM": V, ...}
    Lines,       ///< the same, where null takes away
    Members,     ///< those that the route names
    Document     ///< the file that the verb reads
};

struct Route {
    std::string_view method;
    std::string_view path;  ///< {} stands for a word
    std::string_view words; ///< the verb; behind " -- " what stands before the path's words
    std::vector<Input> query = {};
    Body body = Body::None;
    std::vector<Input> members = {};
    bool changes = false;
    int refused = 422;
};

Input const dryRun{"dryRun", "--dry-run", Kind::Flag};
Input const yes{"yes", "--yes", Kind::Flag};
Input const atomic{"atomic", "--atomic", Kind::Flag};

std::vector<Route> const& routes()
{
    static std::vector<Route> const all{
        {"GET",
         "settings",
         "list --details",
         {{"pattern", "", Kind::Word}, {"changed", "--changed", Kind::Flag}, {"family", "--family"}}},
        {"PATCH", "settings", "set", {dryRun, yes, atomic}, Body::Assignments, {}, true},
        {"GET", "settings/{}", "get"},
        {"PUT", "settings/{}", "set", {dryRun, yes}, Body::Value, {}, true},
        {"DELETE", "settings/{}", "reset", {dryRun}, Body::None, {}, true},
        {"GET", "settings/{}/description", "describe"},
        {"GET", "settings/{}/explanation", "explain"},
        {"GET", "groups", "list --groups"},
        {"GET", "tables", "table"},
        {"GET", "tables/{}", "table"},
        {"GET",
         "history",
         "history",
         {{"item", "--item"}, {"since", "--since"}, {"until", "--until"}, {"limit", "--limit"}}},
        {"GET", "history/{}", "history -- show"},
        {"POST",
         "undo",
         "undo",
         {dryRun, yes, {"force", "--force", Kind::Flag}},
         Body::Members,
         {{"number", "", Kind::Word}, {"since", "--since"}},
         true,
         409},
        {"GET", "diff", "diff"},
        {"POST", "diff", "diff -- -", {}, Body::Document},
        {"GET", "export", "export"},
        {"POST", "import", "import -- -", {dryRun, yes, atomic}, Body::Document, {}, true},
        {"POST", "reset", "reset", {dryRun}, Body::Members, {{"what", "", Kind::Word}, {"all", "--all", Kind::Flag}}, true},
        {"GET", "flags", "flags"},
        {"PATCH", "flags", "flags", {dryRun}, Body::Lines, {}, true},
        {"GET", "device", "device"},
        {"PUT", "device", "device", {}, Body::Members, {{"model", "--model"}, {"usb", "--usb", Kind::YesNo}}, true},
        {"GET", "country", "country"},
        {"PUT", "country", "country", {}, Body::Members, {{"code", "", Kind::Word}}, true},
        {"GET", "mobility", "mobility"},
        {"POST", "mobility", "mobility", {dryRun}, Body::Members, {{"type", "", Kind::Word}}, true},
        // The library asks the hardware anew for it, and holds what that says.
        {"GET", "management", "mgmt get", {{"item", "", Kind::Word}}, Body::None, {}, true},
        {"PATCH", "management", "mgmt set", {}, Body::Assignments, {}, true},
        {"POST", "management/changed", "mgmt changed", {}, Body::Assignments, {}, true},
        {"POST", "management/reset", "mgmt reset-user-data", {}, Body::Members, {}, true},
        {"GET", "management/journal", "mgmt journal"},
    };
    return all;
}

std::vector<std::string> partsOf(std::string_view path)
{
    std::istringstream text{std::string(path)};
    std::vector<std::string> parts;
    for (std::string part; std::getline(text, part, '/');)
        parts.push_back(part);
    return parts;
}

/// The words in the places of {}; nothing when the path is another one.
std::optional<Words> wordsIn(Route const& route, std::span<std::string const> segments)
{
    auto const parts = partsOf(route.path);
    Words words;
    bool const fits = std::ranges::equal(parts, segments, [&](std::string const& part, std::string const& segment) {
        if (part == "{}" && !segment.empty())
            words.push_back(segment);
        return part == "{}" ? !segment.empty() : part == segment;
    });
    return fits ? std::optional(words) : std::nullopt;
}

/// The words of a command while they come together. Nothing that is given can be taken for an option: its own stand with their values
/// in one word, all others behind "--".
class Gathering {
public:
    explicit Gathering(Route const& route)
    {
        std::istringstream words{std::string(route.words)};
        auto* place = &m_options;
        for (std::string word; words >> word;) {
            if (word == "--")
                place = &m_plain;
            else
                place->push_back(word);
        }
    }

    void addOption(std::string word) { m_options.push_back(std::move(word)); }
    void addPlain(std::string word) { m_plain.push_back(std::move(word)); }

    /// False when the value is none for the input. An option without one would take the next word for it.
    bool add(Input const& input, std::string const& value)
    {
        bool const isTrue = value == "true" || (value == "1" && input.kind == Kind::Flag);
        bool const isFalse = value == "false" || (value == "0" && input.kind == Kind::Flag);
        bool const isOption = input.kind != Kind::Word;
        std::string const option(input.option);
        if (input.kind == Kind::Flag && isTrue)
            m_options.push_back(option);
        else if (input.kind == Kind::YesNo)
            m_options.push_back(option + (isTrue ? "=yes" : "=no"));
        else if (input.kind != Kind::Flag)
            isOption ? m_options.push_back(option + '=' + value) : m_plain.push_back(value);
        return !isOption || (input.kind == Kind::Option && !value.empty()) || isTrue || isFalse;
    }

    /// The parser of the words takes "[a,b]" for two of them.
    bool hasList() const
    {
        return std::ranges::any_of(m_plain, [](auto const& word) { return word.starts_with('[') && word.ends_with(']'); });
    }

    Words words() const
    {
        Words all{"--json"};
        all.insert(all.end(), m_options.begin(), m_options.end());
        if (!m_plain.empty())
            all.emplace_back("--");
        all.insert(all.end(), m_plain.begin(), m_plain.end());
        return all;
    }

private:
    Words m_options;
    Words m_plain;
};

/// A member as text; nothing for what is neither text nor number nor truth.
std::optional<std::string> textOf(Json const& value)
{
    if (value.is_string())
        return value.get<std::string>();
    return value.is_primitive() && !value.is_null() ? std::optional(value.dump()) : std::nullopt;
}

using Fault = std::string; ///< empty: none

constexpr int deepest = 4;
constexpr std::size_t mostInBody = 4096;                        ///< names and values: several times what all settings are
constexpr std::size_t longestPlainBody = std::size_t{1} << 20U; ///< of those that are no document

Fault takeQuery(Route const& route, Target const& target, Gathering& words, bool& isDry)
{
    for (auto const& [name, value] : target.query) {
        auto const input = std::ranges::find(route.query, name, &Input::name);
        if (input == route.query.end())
            return "the query's parameter is not known here: " + name;
        if (!words.add(*input, value))
            return "the query's parameter cannot be this: " + name;
        isDry = isDry || (input->name == dryRun.name && (value == "1" || value == "true"));
    }
    return {};
}

/// An assignment's item must not bring a part of the value along.
Fault assign(std::string const& item, std::optional<std::string> const& text, Gathering& words)
{
    if (item.empty() || item.find('=') != std::string::npos)
        return "no item has such a name: " + item;
    if (!text)
        return "a value is a text, a number, true or false: " + item;
    words.addPlain(item + '=' + *text);
    return {};
}

Fault takeMembers(Route const& route, Json const& body, Gathering& words)
{
    for (auto const& [name, value] : body.items()) {
        auto const input = std::ranges::find(route.members, name, &Input::name);
        if (input == route.members.end())
            return "the body's member is not known here: " + name;
        bool const isList = value.is_array() && input->kind == Kind::Word;
        for (auto const& each : isList ? value : Json::array({value})) {
            auto const text = textOf(each);
            if (!text || !words.add(*input, *text))
                return "the body's member is of another type: " + name;
        }
    }
    return {};
}

Fault takeBody(Route const& route, Request const& request, Words const& inPath, Gathering& words)
{
    if (route.body == Body::None)
        return request.body.empty() ? "" : "this takes no body";
    if (route.body == Body::Document)
        return {};
    std::set<std::string> names;
    std::size_t seen = 0;
    bool isTwice = false;
    auto const isWanted = [&](int depth, Json::parse_event_t event, Json& parsed) {
        isTwice = isTwice || (event == Json::parse_event_t::key && !names.insert(parsed.get<std::string>()).second);
        return depth < deepest && ++seen < mostInBody;
    };
    auto const body = Json::parse(request.body, isWanted, false);
    if (seen >= mostInBody)
        return "the body has more in it than all settings are";
    if (!body.is_object() || isTwice)
        return isTwice ? "the body has a member twice" : "the body is no JSON object";
    if (route.body == Body::Members)
        return takeMembers(route, body, words);
    if (route.body == Body::Value)
        return body.size() == 1 && body.contains("value") ? assign(inPath.front(), textOf(body["value"]), words)
                                                          : "the body is to be {\"value\": ...}";
    for (auto const& [item, value] : body.items()) {
        bool const takesAway = route.body == Body::Lines && value.is_null();
        if (auto fault = assign(item, takesAway ? "" : textOf(value), words); !fault.empty())
            return fault;
    }
    return {};
}

std::variant<Command, Answer> commandOf(Route const& route, Words inPath, Request const& request, Target const& target)
{
    if (route.body != Body::Document && request.body.size() > longestPlainBody)
        return problem(413, "only a document may be longer than 1 MiB");
    Gathering words(route);
    bool isDry = false;
    auto fault = takeQuery(route, target, words, isDry);
    if (fault.empty())
        fault = takeBody(route, request, inPath, words);
    if (!fault.empty())
        return problem(400, fault);
    std::string passphrase;
    if (route.body == Body::Document && !unescape(request.header("Passphrase"), passphrase))
        return problem(400, "Passphrase: an escape that is none");
    if (!passphrase.empty())
        words.addOption("--secrets");
    for (auto& word : inPath) {
        if (route.body != Body::Value)
            words.addPlain(std::move(word));
    }
    if (words.hasList())
        return problem(400, "nothing here has a name in brackets");
    return Command{words.words(), route.body == Body::Document ? request.body : "", passphrase, route.refused,
                   route.changes && !isDry};
}

} // namespace

std::variant<Command, Answer> commandFor(Request const& request, Target const& target)
{
    auto const segments = std::span(target.segments).subspan(2);                             // behind "api" and "v1"
    auto const method = request.method == "HEAD" ? "GET" : std::string_view(request.method); // It is sent without its body.
    std::string allowed;
    for (auto const& route : routes()) {
        auto words = wordsIn(route, segments);
        if (!words)
            continue;
        if (route.method == method)
            return commandOf(route, std::move(*words), request, target);
        allowed += (allowed.empty() ? "" : ", ") + std::string(route.method);
    }
    if (allowed.empty())
        return problem(404, "nothing is at " + target.path);
    auto answer = problem(405, "at " + target.path + " there is " + allowed);
    answer.headers.emplace_back("Allow", allowed);
    return answer;
}

std::vector<std::string> routeNames()
{
    std::vector<std::string> names;
    for (auto const& route : routes())
        names.push_back(std::string(route.method) + ' ' + std::string(apiPrefix) + std::string(route.path));
    return names;
}

} // namespace Tool::Web
