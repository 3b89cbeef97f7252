#include "cli/Parser.h"

#include "report/Text.h"
#include "workbench/Items.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <map>
#include <memory>
#include <sstream>
#include <utility>

namespace Tool {

namespace {

constexpr char const* exitCodes = "Exit status: 0 done, 1 internal error or answer not written, 2 wrong usage,\n"
                                  "3 unknown item, 4 value refused, 5 not stored or data directory not usable.\n"
                                  "The gravest counts when several apply.\n"
                                  "ITEM is a tag number (61), a management item (ringer-volume, codec[1]/type), or\n"
                                  "schema/element (AudioSettings/RingerVolume).";

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

void add(CLI::App& app, Argument const& argument)
{
    auto* const option = std::visit(Adding{app, argument.name, argument.help}, argument.target);
    if (argument.isRequired)
        option->required();
    if (!argument.choices.empty())
        option->check(CLI::IsMember(argument.choices));
    if (argument.range)
        option->check(CLI::Range(argument.range->first, argument.range->second));
    if (!argument.value.empty())
        option->option_text(argument.value);
    if (!argument.variable.empty())
        option->envname(argument.variable);
}

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
            Tool::add(m_app, argument);
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
        for (auto const& argument : verb.arguments)
            Tool::add(*app, argument);
        if (std::holds_alternative<Group>(verb.action)) {
            app->require_subcommand(1);
            m_groups[verb.name] = app;
        }
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
        auto const unexpected = m_app.remaining(true);
        if (unexpected.empty())
            return failure(exitUsage, "", std::string(error.what()) + "; see --help");
        return failure(exitUsage, unexpected.front(), "is not expected here; see --help", wordsNear(unexpected.front()));
    }

    /// Verbs or options that may have been meant.
    Words wordsNear(std::string const& word) const
    {
        auto const verb = given();
        std::istringstream names(verb);
        Words const behind{std::istream_iterator<std::string>(names), {}};
        return nearest(word, word.starts_with('-') ? m_registry.optionNames(behind) : m_registry.verbsBelow(verb));
    }

    Registry const& m_registry;
    CLI::App m_app{"See, change and exercise the settings of a telephone's media process.", "mediadata"};
    std::map<std::string, CLI::App*> m_groups;
};

} // namespace

Parsed parse(Words words, Registry const& registry)
{
    return Parser(registry).parse(std::move(words));
}

} // namespace Tool
