#include "tests/support/box_state.h"

#include "platform/simulated/box_files.h"

#include <fstream>
#include <iterator>
#include <sstream>

namespace testing_support {

using namespace KORVA::DTC::PLATFORM;

std::string boxFile(std::string const& path)
{
    std::ifstream file(boxRoot() + path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

void setBoxFile(std::string const& path, std::string const& content)
{
    std::ofstream(boxRoot() + path, std::ios::binary) << content;
}

namespace {

std::vector<std::string> newLines(std::string const& log)
{
    std::vector<std::string> lines;
    std::istringstream text(boxFile(log));
    for (std::string day, time, process, line; text >> day >> time >> process;) {
        std::getline(text, line);
        lines.push_back(line.substr(line.find_first_not_of(' ')));
    }
    setBoxFile(log, "");
    return lines;
}

} // namespace

std::vector<std::string> newTransfers()
{
    return newLines("/log/transfers.log");
}

std::vector<std::string> newCommands()
{
    return newLines("/log/commands.log");
}

} // namespace testing_support
