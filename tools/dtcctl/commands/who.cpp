#include <skylark_io/adapter/skylark_io_adapter_filter.h>
#include <skylark_io/conf/dtc_conf_schema.h>
#include <skylark_io/conf/dtc_conf_vars.h>

#include "tools/dtcctl/commands.h"
#include "tools/dtcctl/support/address.h"
#include "tools/dtcctl/support/failure.h"
#include "tools/dtcctl/support/library_call.h"
#include "tools/dtcctl/support/text.h"

#include <arpa/inet.h>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <vector>

namespace dtcctl {
namespace {

using namespace KORVA::DTC;

struct WhoOptions
{
    std::vector<std::string> addresses;
    bool json = false;
};

/// What admission looks at.
struct Access
{
    std::string holder; ///< "none": nobody
    std::string filter;
};

/// The number of the library's address form, in the form in which a server sees its client.
std::string dottedAddress(std::string const& given)
{
    std::string const form = libraryAddress(given);
    std::string const number = form.substr(form.rfind(':') + 1); // npos + 1 is 0
    unsigned long const host = std::strtoul(number.c_str(), nullptr, 0);
    in_addr const address{htonl(static_cast<std::uint32_t>(host))};
    char text[INET_ADDRSTRLEN];
    inet_ntop(AF_INET, &address, text, sizeof text);
    return text;
}

Access readAccess()
{
    LibraryCall const call;
    CONF::Vars vars("");
    try {
        vars.read();
        return {vars.getVar(CONF::NAME::ipClient), vars.getVar(CONF::NAME::_ipFilter)};
    } catch (std::exception const& error) {
        throw Failure(std::string("no client is admitted, the configuration cannot be read: ") +
                      error.what());
    }
}

bool isHeld(Access const& access)
{
    return access.holder != CONF::VALUE::None;
}

/// What a service does with a client: refuses it for a reason, or admits it by a pattern.
Json answer(bool isHeldByAnother, Access const& access, std::string const& address)
{
    if (isHeldByAnother)
        return {{"admitted", false}, {"reason", "busy with " + printable(access.holder)}};
    auto const pattern = findAdmittingPattern(access.filter, address);
    if (!pattern)
        return {{"admitted", false}, {"reason", "no pattern of _ipFilter matches"}};
    return {{"admitted", true},
            {"pattern", *pattern},
            {"admits_everybody", !isAddressPattern(*pattern)}};
}

Json judge(std::vector<std::string> const& addresses, Access const& access)
{
    Json clients = Json::array();
    for (std::string const& address : addresses) {
        bool const isHeldByAnother = isHeld(access) && access.holder != address;
        clients.push_back({{"address", address},
                           {"dtc_io", answer(isHeldByAnother, access, address)},
                           {"dtc_conf", answer(false, access, address)}});
    }
    return {{"holder", isHeld(access) ? Json(access.holder) : Json()},
            {"filter", access.filter},
            {"clients", clients}};
}

void print(Json const& client)
{
    for (char const* const service : {"dtc_io", "dtc_conf"}) {
        Json const& told = client[service];
        std::printf("%-15s  %-8s  ", client["address"].get<std::string>().c_str(), service);
        if (!told["admitted"])
            std::printf("refused: %s\n", told["reason"].get<std::string>().c_str());
        else
            std::printf(
                "admitted by the pattern \"%s\"%s\n", told["pattern"].get<std::string>().c_str(),
                told["admits_everybody"] ? ", which is no address and admits everybody" : "");
    }
}

void tellWho(WhoOptions const& options)
{
    std::vector<std::string> addresses;
    for (std::string const& given : options.addresses)
        addresses.push_back(dottedAddress(given));
    Access const access = readAccess();
    Json const judgement = judge(addresses, access);
    if (options.json) {
        std::puts(jsonLine(judgement).c_str());
        return;
    }
    std::puts(isHeld(access) ? ("dtc_io is held by " + printable(access.holder)).c_str()
                             : "nobody holds dtc_io");
    for (Json const& client : judgement["clients"])
        print(client);
}

} // namespace

void addWho(CLI::App& program)
{
    auto const options = std::make_shared<WhoOptions>();
    CLI::App& command =
        *program.add_subcommand("who", "Tell who holds dtc_io and which clients are admitted");
    command.footer("Reads the configuration as admission does, which blinks the third LED once; "
                   "nothing else changes.");
    command.add_option("ADDRESS", options->addresses, "Client addresses to judge")->default_str("");
    command.add_flag("--json", options->json, "As one JSON object");
    command.callback([options] { tellWho(*options); });
}

} // namespace dtcctl
