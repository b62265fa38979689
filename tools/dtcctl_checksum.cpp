#include "conf/dtc_conf_image.h"

#include "tools/dtcctl.h"

#include <cstdio>
#include <filesystem>
#include <memory>

namespace dtcctl {

void addChecksum(CLI::App& app, int& status)
{
    auto const file = std::make_shared<std::string>();
    CLI::App* const command = app.add_subcommand(
        "checksum", "Print a file's CRC-32 without its final inversion, in hexadecimal");
    command->add_option("FILE", *file, "The file")->required();
    command->callback([file, &status] {
        if (std::filesystem::is_directory(*file))
            throw Failure(*file + ": is a directory");
        std::printf("%08x\n", KORVA::DTC::CONF::checksum(file->c_str()));
        status = ExitOk;
    });
}

} // namespace dtcctl
