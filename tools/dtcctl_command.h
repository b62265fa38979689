/// The command line as the subcommands see it. The parser behind it stays out of their sight: its
/// headers take longer to compile than all they have of their own.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace CLI {
class App;
class Option;
} // namespace CLI

namespace dtcctl {

/// A handle to an option or argument of a command.
class Option
{
public:
    explicit Option(CLI::Option& option) : m_option(&option) {}

    Option const& required() const;
    Option const& among(std::vector<std::string> const& words) const;
    Option const& between(unsigned int lowest, unsigned int highest) const;
    Option const& between(double lowest, double highest) const;
    Option const& excludes(Option const& other) const;

    /// Whether the command line that was parsed has it.
    bool isGiven() const;

private:
    CLI::Option* m_option;
};

/// A handle to a command. What parsing stores into must outlive it.
class Command
{
public:
    explicit Command(CLI::App& parser) : m_parser(&parser) {}

    /// One of the command's own, of which the command line must then name one.
    Command subcommand(char const* name, char const* help) const;

    /// The text below its help.
    void footer(char const* text) const;

    // The help shows the value as the default.
    Option option(char const* names, std::string& value, char const* help) const;
    Option option(char const* names, unsigned int& value, char const* help) const;
    Option option(char const* names, unsigned long& value, char const* help) const;
    Option option(char const* names, double& value, char const* help) const;
    Option flag(char const* names, bool& isSet, char const* help) const;

    // Told by its place among the words.
    Option argument(char const* name, std::string& value, char const* help) const;
    Option argument(char const* name, std::vector<std::string>& values, char const* help) const;

    /// What it does once the command line is parsed.
    void onRun(std::function<void()> run) const;

    CLI::App& parser() const { return *m_parser; }

private:
    CLI::App* m_parser;
};

/// The whole command line of a program.
class CommandLine
{
public:
    /// The version is what the option for it prints.
    CommandLine(char const* name, char const* help, char const* version);
    ~CommandLine();
    CommandLine(CommandLine const&) = delete;
    CommandLine& operator=(CommandLine const&) = delete;

    Command program() const { return Command(*m_parser); }

    /// Parses the words and runs the command that they name, or prints the help or what is wrong.
    /// False when they are used wrongly.
    bool run(int argc, char** argv);

private:
    std::unique_ptr<CLI::App> m_parser;
};

} // namespace dtcctl
