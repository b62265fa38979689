// The image in the EEPROM: any content of the device is read, rendered again and read
// back. The input is the content from address 0 and, at its end, four bytes of choices: two for the
// size of the buffer to render into, one for the pair to begin with, and flags.
#include "conf/dtc_conf_image.h"
#include "conf/dtc_conf_status.h"
#include "fuzz/promise.h"
#include "periph/dtc_periph_eeprom.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <sstream>

using namespace KORVA::DTC;
using fuzz::cleaned;
using fuzz::require;

namespace {

using VariableList = std::vector<std::pair<std::string, std::string>>;

/// Reads text in memory of exactly its size, so that a byte read behind it is noticed.
VariableList read(std::string const& image)
{
    VariableList expected;
    std::istringstream lines(image);
    for (std::string line; std::getline(lines, line) && line.find('=') != std::string::npos;)
        expected.emplace_back(line.substr(0, line.find('=')), line.substr(line.find('=') + 1));
    std::unique_ptr<char[]> const text(new char[image.size() + 1]);
    std::memcpy(text.get(), image.c_str(), image.size() + 1);
    VariableList vars;
    CONF::bufToVars(vars, text.get(), PERIPH::EEPROM_SIZE);
    require(vars == expected, "each line up to the first without = gives a pair");
    return vars;
}

void checkRendering(VariableList const& vars, std::size_t size, std::size_t start, bool lineFeeds)
{
    std::string expected;
    VariableList pairs;
    std::size_t next = start;
    for (; next < vars.size(); ++next) {
        auto const& [name, value] = vars[next];
        if (name.empty() || value.empty())
            continue;
        std::string const longer = expected + name + '=' + value + '\n';
        if (longer.size() + 1 > size)
            break;
        expected = longer;
        pairs.emplace_back(cleaned(name), cleaned(value));
    }
    bool const complete = next >= vars.size();
    bool refused = false;
    std::unique_ptr<char[]> const buf(new char[size]);
    auto index = static_cast<unsigned int>(start);
    try {
        CONF::varsToBuf(vars, buf.get(), static_cast<unsigned int>(size), index);
    } catch (CONF::Exception const& exception) {
        refused = exception.status() == CONF::OperationFailed;
    }
    require(refused == (!complete && next == 0), "only a very first pair is refused");
    if (refused || size == 0)
        return;
    require(index == (complete ? 0 : next), "the first pair that does not fit is named");
    require(std::memchr(buf.get(), '\0', size) != nullptr, "the image is terminated");
    require(buf.get() == cleaned(expected), "the image holds what fits, cleaned");
    require(lineFeeds || read(buf.get()) == pairs, "an image gives its pairs back");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (size < 4)
        return 0;
    std::uint8_t const* const choices = data + size - 4;
    bool const erased = (choices[3] & 1) != 0;    // behind the content, and not zero
    bool const lineFeeds = (choices[3] & 2) != 0; // for carriage returns in values
    std::string image(data, std::min(choices, data + PERIPH::EEPROM_SIZE));
    std::size_t const end = image.find('\0');
    if (end == std::string::npos && (erased || image.size() == PERIPH::EEPROM_SIZE))
        return 0; // an image without an end is not read
    image.resize(std::min(end, image.size()));

    VariableList vars = read(image);
    for (auto& pair : vars) {
        if (lineFeeds)
            std::replace(pair.second.begin(), pair.second.end(), '\r', '\n');
    }
    checkRendering(vars, (choices[0] + choices[1] * 256U) % (image.size() + 4),
                   choices[2] % (vars.size() + 2), lineFeeds);
    return 0;
}
