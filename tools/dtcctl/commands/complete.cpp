#include "tools/dtcctl/commands.h"
#include "tools/dtcctl/support/options.h"

#include <cstdio>
#include <memory>

namespace dtcctl {
namespace {

/// The place on a command line that its words lead to.
class Place
{
public:
    explicit Place(CLI::App const& app) : m_command(&app) {}

    /// A shell may give "=" as a word of its own.
    void pass(std::string const& word)
    {
        if (word == "=")
            m_isInValue = m_valueOf == nullptr;
        else if (m_valueOf != nullptr)
            m_valueOf = nullptr;
        else if (m_isInValue)
            m_isInValue = false;
        else if (word.size() > 1 && word[0] == '-')
            passOption(word);
        else if (CLI::App const* const subcommand = subcommandNamed(word))
            m_command = subcommand;
        else
            ++m_positionals;
    }

    /// The words that may stand here.
    Words choices() const
    {
        if (m_isInValue)
            return {};
        if (m_valueOf != nullptr)
            return offeredFor(m_valueOf);
        Words words = positionalChoices();
        for (CLI::App const* const subcommand : subcommands())
            words.push_back(subcommand->get_name());
        return words;
    }

    Words options() const
    {
        Words words;
        if (m_isInValue || m_valueOf != nullptr)
            return words;
        for (CLI::Option const* const option : m_command->get_options()) {
            for (std::string const& name : option->get_lnames())
                words.push_back("--" + name);
            for (std::string const& name : option->get_snames())
                words.push_back("-" + name);
        }
        return words;
    }

private:
    void passOption(std::string const& word)
    {
        CLI::Option const* const option = m_command->get_option_no_throw(word);
        if (option != nullptr && option->get_items_expected_max() > 0)
            m_valueOf = option;
    }

    std::vector<CLI::App const*> subcommands() const
    {
        return m_command->get_subcommands(
            [](CLI::App const* subcommand) { return !subcommand->get_group().empty(); });
    }

    CLI::App const* subcommandNamed(std::string const& word) const
    {
        for (CLI::App const* const subcommand : subcommands()) {
            if (subcommand->get_name() == word)
                return subcommand;
        }
        return nullptr;
    }

    /// Of the positional that comes next; the last one of a command may be a list.
    Words positionalChoices() const
    {
        auto const positionals = m_command->get_options(
            [](CLI::Option const* option) { return option->get_positional(); });
        if (m_positionals < positionals.size())
            return offeredFor(positionals[m_positionals]);
        bool const isList = !positionals.empty() && positionals.back()->get_expected_max() > 1;
        return isList ? offeredFor(positionals.back()) : Words{};
    }

    CLI::App const* m_command;
    CLI::Option const* m_valueOf = nullptr; ///< The option whose value comes next.
    bool m_isInValue = false;               ///< Behind the "=" of a variable.
    std::size_t m_positionals = 0;
};

/// Of the words the last is the one to complete, and may be empty.
void complete(CLI::App const& app, Words words)
{
    std::string begun;
    if (!words.empty()) {
        begun = words.back();
        words.pop_back();
    }
    Place place(app);
    for (std::string const& word : words)
        place.pass(word);
    bool const isOption = !begun.empty() && begun[0] == '-';
    for (std::string const& word : isOption ? place.options() : place.choices()) {
        if (word.compare(0, begun.size(), begun) == 0)
            std::puts(word.c_str());
    }
}

} // namespace

void addComplete(CLI::App& program)
{
    auto const words = std::make_shared<Words>();
    CLI::App& command =
        *program.add_subcommand("complete", "Print the words that a command line may go on with");
    command.group(""); // for shells, so the help does not tell it
    command.add_option("WORD", *words, "The words after dtcctl; the last is to be completed")
        ->default_str("");
    command.callback([&program, words] { complete(program, *words); });
}

} // namespace dtcctl
