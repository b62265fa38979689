#include <skylark_io/conf/dtc_conf_checksum.h>

#include "tools/dtcctl/commands.h"
#include "tools/dtcctl/support/failure.h"

#include <cstdio>
#include <filesystem>
#include <memory>

namespace dtcctl {

void addChecksum(CLI::App& program)
{
    auto const file = std::make_shared<std::string>();
    CLI::App& command = *program.add_subcommand(
        "checksum", "Print a file's CRC-32 without its final inversion, in hexadecimal");
    command.add_option("FILE", *file, "The file")->required();
    command.callback([file] {
        if (std::filesystem::is_directory(*file))
            throw Failure(*file + ": is a directory");
        std::printf("%08x\n", KORVA::DTC::CONF::checksum(file->c_str()));
    });
}

} // namespace dtcctl
