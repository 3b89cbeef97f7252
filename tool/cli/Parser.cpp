#include "cli/Parser.h"

#include "cli/Examples.h"
#include "report/Text.h"
#include "workbench/Items.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>
#include <map>
#include <memory>
#include <sstream>
#include <utility>

namespace Tool {

namespace {

constexpr char const* exitCodes = "Exit status: 0 done, 1 internal error or answer not written (diff --exit-code: a\n"
                                  "difference), 2 wrong usage, 3 unknown item, 4 value refused, 5 not stored or\n"
                                  "data directory not usable.\n"
                                  "The gravest counts when several apply.\n"
                                  "ITEM is a tag number (61), a management item (ringer-volume, codec[1]/type), or\n"
                                  "schema/element (AudioSettings/RingerVolume).";

constexpr char const* commonHelp = "With --json it answers with one JSON object. \"mediadata --help\" lists what is\n"
                                   "the same for all verbs: more options, the exit status, and how an ITEM is named.";

constexpr std::size_t nameWidth = 28;

/// A name that is too long for its column has a line of its own.
std::string entry(std::string name, std::string const& description)
{
    name = "  " + name;
    std::string const gap(nameWidth, ' ');
    auto const room = lineWidth - nameWidth;
    std::string lines;
    for (auto const& line : wrapped(description, room))
        lines += (lines.empty() ? "" : gap) + line + '\n';
    return name + (name.size() + 2 > nameWidth ? '\n' + gap : gap.substr(name.size())) + lines;
}

/// What stands below a verb's options.
std::string footerOf(Verb const& verb)
{
    std::string lines;
    for (auto const example : examplesOf(verb.name))
        lines += fmt::format("{}  {}\n", lines.empty() ? "Examples:\n" : "", example);
    return lines + (lines.empty() ? "" : "\n") + commonHelp;
}

/// The parser's own layout in 80 columns.
class HelpFormatter : public CLI::Formatter {
    std::string make_option(CLI::Option const* option, bool isPositional) const override
    {
        auto const value = isPositional ? "" : make_option_opts(option);
        return entry(make_option_name(option, isPositional) + value, make_option_desc(option));
    }
    std::string make_subcommand(CLI::App const* verb) const override
    {
        return entry(verb->get_name(), verb->get_description());
    }
};

/// How the parser fills in one kind of target.
struct Adding {
    CLI::App& app;
    std::string const& name;
    std::string const& help;

    CLI::Option* operator()(bool* target) const { return app.add_flag(name, *target, help); }
    CLI::Option* operator()(Print const& print) const { return app.set_version_flag(name, print.text, help); }
    CLI::Option* operator()(std::optional<std::string>* target) const
    {
        return app.add_option_function<std::string>(
            name, [target](std::string const& text) { *target = text; }, help);
    }
    template <class T> CLI::Option* operator()(T* target) const { return app.add_option(name, *target, help); }
};

/// Whether a text is a number of the range. Longer ones than any range has are none.
bool isWithin(std::string const& text, std::pair<int, int> const& range)
{
    int number = 0;
    auto const* const end = text.data() + text.size();
    auto const [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end && number >= range.first && number <= range.second;
}

/// What people call verbs elsewhere.
constexpr std::pair<char const*, char const*> synonyms[]{
    {"apply", "import"},     {"audit", "history"},     {"backup", "export"}, {"cat", "get"},       {"change", "set"},
    {"clear", "reset"},      {"compare", "diff"},      {"config", "list"},   {"console", "shell"}, {"daemon", "serve"},
    {"default", "reset"},    {"defaults", "reset"},    {"delete", "reset"},  {"dump", "export"},   {"edit", "set"},
    {"factory", "reset"},    {"find", "list"},         {"follow", "watch"},  {"grep", "list"},     {"info", "describe"},
    {"inspect", "explain"},  {"interactive", "shell"}, {"keys", "list"},     {"listen", "watch"},  {"load", "import"},
    {"log", "history"},      {"ls", "list"},           {"monitor", "watch"}, {"print", "get"},     {"put", "set"},
    {"query", "get"},        {"read", "get"},          {"remove", "reset"},  {"repl", "shell"},    {"restore", "import"},
    {"revert", "undo"},      {"rm", "reset"},          {"rollback", "undo"}, {"run", "shell"},     {"save", "export"},
    {"schema", "catalogue"}, {"search", "list"},       {"server", "serve"},  {"show", "get"},      {"start", "serve"},
    {"status", "list"},      {"subscribe", "watch"},   {"tail", "watch"},    {"unset", "reset"},   {"update", "set"},
    {"view", "get"},         {"why", "explain"},       {"write", "set"}};

/// The parser for all verbs of a registry.
class Parser {
public:
    explicit Parser(Registry const& registry) : m_registry(registry)
    {
        m_app.formatter(std::make_shared<HelpFormatter>()); // The verbs take it over when they are added.
        m_app.require_subcommand(1);
        m_app.fallthrough();
        m_app.footer(exitCodes);
        for (auto const& argument : registry.arguments)
            add(m_app, argument);
        for (auto const& verb : registry.verbs)
            add(verb);
    }

    Parsed parse(Words words)
    {
        std::reverse(words.begin(), words.end()); // The parser takes its words from the end.
        try {
            m_app.parse(std::move(words));
        } catch (CLI::CallForVersion const& version) {
            return {.text = textOf(version), .isVersion = true};
        } catch (CLI::ParseError const& error) {
            return error.get_exit_code() == 0 ? Parsed{.text = textOf(error)} : Parsed{.problem = problemOf(error)};
        }
        return {.verb = m_registry.find(given())};
    }

private:
    void add(Verb const& verb)
    {
        auto const blank = verb.name.find(' ');
        auto& group = blank == std::string::npos ? m_app : *m_groups.at(verb.name.substr(0, blank));
        auto* const app =
            group.add_subcommand(blank == std::string::npos ? verb.name : verb.name.substr(blank + 1), verb.help);
        app->footer(footerOf(verb));
        for (auto const& argument : verb.arguments)
            add(*app, argument);
        if (std::holds_alternative<Group>(verb.action)) {
            app->require_subcommand(1);
            m_groups[verb.name] = app;
        }
    }

    void add(CLI::App& app, Argument const& argument)
    {
        auto const& name = argument.name;
        auto const names = argument.letter.empty() ? name : argument.letter + "," + name;
        auto* const option = std::visit(Adding{app, names, argument.help}, argument.target);
        if (argument.isOption())
            option->allow_extra_args(false); // One value each time, even of an option that may come several times.
        if (argument.isRequired)
            option->required();
        if (auto const& choices = argument.choices; !choices.empty())
            option->check([this, name, choices](std::string const& given) {
                bool const isOne = std::find(choices.begin(), choices.end(), given) != choices.end();
                return isOne ? ""
                             : refuse(name, fmt::format("\"{}\" is none of {}", given, fmt::join(choices, ", ")),
                                      nearest(given, choices));
            });
        if (auto const range = argument.range)
            option->check([this, name, range](std::string const& given) {
                return isWithin(given, *range) ? ""
                                               : refuse(name, fmt::format("\"{}\" is no whole number {}..{}", given,
                                                                          range->first, range->second));
            });
        if (!argument.value.empty())
            option->option_text(argument.value);
        if (!argument.variable.empty())
            option->envname(argument.variable);
    }

    /// Keeps what is wrong with a value, and tells the parser so.
    std::string refuse(std::string const& name, std::string reason, Words near = {})
    {
        m_refused = {name, std::move(reason), std::move(near)};
        return name;
    }

    /// The name of the verb among the words, as far as it was understood.
    std::string given() const
    {
        std::string name;
        for (auto verbs = m_app.get_subcommands(); !verbs.empty(); verbs = verbs.front()->get_subcommands())
            name += (name.empty() ? "" : " ") + verbs.front()->get_name();
        return name;
    }

    /// The help or the version.
    std::string textOf(CLI::ParseError const& error)
    {
        std::ostringstream text;
        m_app.exit(error, text, text);
        return text.str();
    }

    Report problemOf(CLI::ParseError const& error) const
    {
        auto const verb = given();
        auto const help = fmt::format("mediadata {}--help", verb.empty() ? "" : verb + " ");
        auto const below = m_registry.verbsBelow(verb);
        if (!m_refused.reason.empty())
            return failure(exitUsage, m_refused.item, m_refused.reason, m_refused.suggestions);
        if (auto const unexpected = m_app.remaining(true); !unexpected.empty()) {
            auto const word = unexpected.front().substr(0, unexpected.front().find('=')); // A value may be a secret.
            if (word.starts_with('-'))
                return failure(exitUsage, word, "is no option here; see " + help, nearest(word, optionsBehind(verb)));
            return below.empty() ? failure(exitUsage, word, "is one word too many; see " + help)
                                 : failure(exitUsage, word, "is no verb; " + help + " lists them", verbsNear(word, below));
        }
        if (!below.empty())
            return failure(exitUsage, verb, fmt::format("a verb is missing: {}", fmt::join(below, ", ")));
        // Its sentences begin with the name that they are about.
        std::string const sentence = error.what();
        auto const name = sentence.substr(0, sentence.find_first_of(": "));
        if (dynamic_cast<CLI::RequiredError const*>(&error))
            return failure(exitUsage, "", fmt::format("{} is missing; see {}", name, help));
        if (dynamic_cast<CLI::ArgumentMismatch const*>(&error))
            return failure(exitUsage, name, "lacks its value; see " + help);
        return failure(exitUsage, "", "the value of an option is not understood; see " + help);
    }

    Words optionsBehind(std::string const& verb) const
    {
        std::istringstream names(verb);
        return m_registry.optionNames({std::istream_iterator<std::string>(names), {}});
    }

    /// What an unknown verb may have meant: a verb of another name, or those that take an item where one stands in its place.
    static Words verbsNear(std::string const& word, Words const& verbs)
    {
        Words near;
        for (auto const& [other, verb] : synonyms) {
            if (word == other && std::find(verbs.begin(), verbs.end(), verb) != verbs.end())
                near.emplace_back(verb);
        }
        if (findItem(word))
            near.insert(near.end(), {"get", "set"});
        return near.empty() ? nearest(word, verbs) : near;
    }

    Registry const& m_registry;
    CLI::App m_app{"See, change and exercise the settings of a telephone's media process.", "mediadata"};
    std::map<std::string, CLI::App*> m_groups;
    Problem m_refused; ///< by a check of ours
};

} // namespace

Parsed parse(Words words, Registry const& registry)
{
    return Parser(registry).parse(std::move(words));
}

} // namespace Tool
