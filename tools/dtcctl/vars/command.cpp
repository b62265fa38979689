#include <skylark_io/conf/dtc_conf_vars.h>

#include "tools/dtcctl/commands.h"
#include "tools/dtcctl/support/failure.h"
#include "tools/dtcctl/support/interrupt.h"
#include "tools/dtcctl/support/library_call.h"
#include "tools/dtcctl/support/options.h"
#include "tools/dtcctl/support/text.h"
#include "tools/dtcctl/vars/advice.h"
#include <skylark_io/conf/dtc_conf_schema.h>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace dtcctl {
namespace {

using namespace KORVA::DTC::CONF;

struct VarsOptions
{
    bool json = false;
    bool unsafe = false;
    std::vector<std::string> words;
};

Vars currentVars()
{
    LibraryCall const call;
    Vars vars("");
    vars.read();
    return vars;
}

void listVars(VarsOptions const& options)
{
    Json all;
    for (auto const& [name, value] : currentVars()) {
        if (options.json)
            all[name] = value;
        else
            std::printf("%-15s %s\n", name.c_str(), printable(value).c_str());
    }
    if (options.json)
        std::puts(jsonLine(all).c_str());
}

void getVars(VarsOptions const& options)
{
    Vars vars = currentVars();
    std::string values;
    for (std::string const& name : options.words)
        values.append(vars.getVar(name.c_str())).append("\n");
    std::fputs(values.c_str(), stdout);
}

/// The clock runs on by itself, so it counts only when it was asked to change.
void printChanges(Vars& before, Vars& after, bool withTime)
{
    bool isAnyChanged = false;
    for (auto const& [name, value] : after) {
        std::string const& old = before.getVar(name.c_str());
        if (value == old || (name == NAME::time && !withTime))
            continue;
        isAnyChanged = true;
        std::printf("%s: %s -> %s\n", name.c_str(), jsonLine(old).c_str(), jsonLine(value).c_str());
    }
    if (!isAnyChanged)
        std::puts("nothing has changed");
}

VariableList parsedRequest(std::vector<std::string> const& words)
{
    VariableList request;
    for (std::string const& word : words) {
        std::size_t const equals = word.find('=');
        if (equals == std::string::npos || equals == 0)
            throw UsageError("\"" + word + "\": not of the form NAME=VALUE");
        setValue(word.substr(0, equals).c_str(), word.substr(equals + 1).c_str(), request);
    }
    return request;
}

void writeRequest(VariableList const& request)
{
    LibraryCall const call;
    Vars vars("");
    vars.assign(request.begin(), request.end());
    vars.write();
}

void setVars(VarsOptions const& options)
{
    VariableList const request = parsedRequest(options.words);
    Vars before = currentVars();
    for (std::string const& advice : adviceFor(request, before))
        std::fprintf(stderr, "dtcctl: warning: %s\n", advice.c_str());
    if (interrupted())
        throw Failure("interrupted: nothing was written");
    writeRequest(request);
    Vars after = currentVars();
    bool const withTime = std::any_of(request.begin(), request.end(),
                                      [](auto const& pair) { return pair.first == NAME::time; });
    printChanges(before, after, withTime);
}

void restoreVars(VarsOptions const& options)
{
    Vars before = currentVars();
    if (before.getVar(NAME::safeMode) == VALUE::True) {
        if (!options.unsafe)
            throw Failure("the box runs in safe mode, where the variables are not restored; "
                          "--unsafe restores them all the same");
        writeRequest({{NAME::_control, CONTROL::AllowUnsafeRestore}});
    }
    if (interrupted())
        throw Failure("interrupted: nothing was restored");
    {
        LibraryCall const call;
        Vars("").restore();
    }
    Vars after = currentVars();
    printChanges(before, after, false);
}

/// From the library's table alone: nothing of the box is read.
Words namesOf(bool SchemaEntry::*ability, char const* ending)
{
    Words names;
    SchemaEntry* row = nullptr;
    for (getSchema(row); row->name != nullptr; ++row) {
        if (row->*ability)
            names.push_back(std::string(row->name) + ending);
    }
    return names;
}

} // namespace

void addVars(CLI::App& program)
{
    auto const options = std::make_shared<VarsOptions>();
    CLI::App& vars = *program.add_subcommand("vars", "Read and change the box's variables");
    vars.require_subcommand(1);
    auto const add = [&](char const* name, char const* help, void (*run)(VarsOptions const&)) {
        CLI::App* const command = vars.add_subcommand(name, help);
        command->callback([options, run] {
            catchInterrupts(); // to stop between reading and writing
            run(*options);
        });
        return command;
    };
    add("list", "Show every variable and its value", listVars)
        ->add_flag("--json", options->json, "One JSON object, names to values");
    offer(add("get", "Print values, a line each", getVars)
              ->add_option("NAME", options->words, "The variables")
              ->default_str("")
              ->required(),
          namesOf(&SchemaEntry::readable, ""));
    offer(add("set", "Change variables, and say what has changed", setVars)
              ->add_option("NAME=VALUE", options->words, "The variables and their new values")
              ->default_str("")
              ->required(),
          namesOf(&SchemaEntry::writable, "="));
    add("restore", "Give every variable its default", restoreVars)
        ->add_flag("--unsafe", options->unsafe, "In safe mode too");
}

} // namespace dtcctl
