#include "tools/dtcctl_command.h"

#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace dtcctl {
namespace {

/// A range alone lets "nan" pass.
std::string refuseNan(std::string const& text)
{
    return std::isnan(std::strtod(text.c_str(), nullptr)) ? text + ": not a number" : "";
}

/// What the parser says of a wrong command line, as all errors begin, with the word that it stands
/// for where it only misses one.
std::string usageMessage(CLI::App const* parser, CLI::Error const& error)
{
    std::vector<std::string> const rest = parser->remaining(true);
    bool const isMistyped = error.get_name() == "RequiredError" && !rest.empty();
    return parser->get_name() + ": " +
           (isMistyped ? "\"" + rest.front() + "\": no such subcommand or option" : error.what()) +
           "\nRun with --help for more information.\n";
}

template <typename Value>
Option added(CLI::App& parser, char const* names, Value& value, char const* help)
{
    return Option(*parser.add_option(names, value, help)->capture_default_str());
}

} // namespace

Option const& Option::required() const
{
    m_option->required();
    return *this;
}

Option const& Option::among(std::vector<std::string> const& words) const
{
    m_option->check(CLI::IsMember(words));
    return *this;
}

Option const& Option::between(unsigned int lowest, unsigned int highest) const
{
    m_option->check(CLI::Range(lowest, highest));
    return *this;
}

Option const& Option::between(double lowest, double highest) const
{
    m_option->check(CLI::Range(lowest, highest) & CLI::Validator(refuseNan, "", ""));
    return *this;
}

Option const& Option::excludes(Option const& other) const
{
    m_option->excludes(other.m_option);
    return *this;
}

bool Option::isGiven() const
{
    return m_option->count() > 0;
}

Command Command::subcommand(char const* name, char const* help) const
{
    m_parser->require_subcommand(1);
    return Command(*m_parser->add_subcommand(name, help));
}

void Command::footer(char const* text) const
{
    m_parser->footer(text);
}

Option Command::option(char const* names, std::string& value, char const* help) const
{
    return added(*m_parser, names, value, help);
}

Option Command::option(char const* names, unsigned int& value, char const* help) const
{
    return added(*m_parser, names, value, help);
}

Option Command::option(char const* names, unsigned long& value, char const* help) const
{
    return added(*m_parser, names, value, help);
}

Option Command::option(char const* names, double& value, char const* help) const
{
    return added(*m_parser, names, value, help);
}

Option Command::flag(char const* names, bool& isSet, char const* help) const
{
    return Option(*m_parser->add_flag(names, isSet, help));
}

Option Command::argument(char const* name, std::string& value, char const* help) const
{
    return Option(*m_parser->add_option(name, value, help));
}

Option Command::argument(char const* name, std::vector<std::string>& values, char const* help) const
{
    return Option(*m_parser->add_option(name, values, help));
}

void Command::onRun(std::function<void()> run) const
{
    m_parser->callback(std::move(run));
}

CommandLine::CommandLine(char const* name, char const* help, char const* version)
    : m_parser(std::make_unique<CLI::App>(help, name))
{
    m_parser->set_version_flag("--version", version);
    m_parser->failure_message(usageMessage);
}

CommandLine::~CommandLine() = default;

bool CommandLine::run(int argc, char** argv)
{
    try {
        m_parser->parse(argc, argv);
    } catch (CLI::ParseError const& error) {
        return m_parser->exit(error) == 0;
    }
    return true;
}

} // namespace dtcctl
