#include "cli/Help.h"

#include "report/Text.h"

#include <string>

namespace Tool {

namespace {

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

} // namespace

std::shared_ptr<CLI::FormatterBase> helpFormatter()
{
    return std::make_shared<HelpFormatter>();
}

} // namespace Tool
