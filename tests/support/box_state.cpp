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

std::vector<std::string> newTransfers()
{
    std::vector<std::string> lines;
    std::istringstream log(boxFile("/log/transfers.log"));
    for (std::string day, time, process, line; log >> day >> time >> process;) {
        std::getline(log, line);
        lines.push_back(line.substr(line.find_first_not_of(' ')));
    }
    setBoxFile("/log/transfers.log", "");
    return lines;
}

} // namespace testing_support
