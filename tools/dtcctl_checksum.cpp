#include "conf/dtc_conf_checksum.h"

#include "tools/dtcctl.h"

#include <cstdio>
#include <filesystem>
#include <memory>

namespace dtcctl {

void addChecksum(Command const& program)
{
    auto const file = std::make_shared<std::string>();
    Command const command = program.subcommand(
        "checksum", "Print a file's CRC-32 without its final inversion, in hexadecimal");
    command.argument("FILE", *file, "The file").required();
    command.onRun([file] {
        if (std::filesystem::is_directory(*file))
            throw Failure(*file + ": is a directory");
        std::printf("%08x\n", KORVA::DTC::CONF::checksum(file->c_str()));
    });
}

} // namespace dtcctl
