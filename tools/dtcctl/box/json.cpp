#include "tools/dtcctl/box/json.h"

#include "tools/dtcctl/support/text.h"

namespace dtcctl {
namespace {

std::string json(std::string const& text)
{
    return jsonString(text);
}

std::string json(unsigned int number)
{
    return std::to_string(number);
}

std::string json(BoxFile const& file)
{
    return "{\"name\":" + jsonString(file.name) + ",\"bytes\":" + std::to_string(file.sizeBytes) +
           "}";
}

std::string json(BoxPartition const& partition);

template <typename Items>
std::string list(Items const& items)
{
    std::string result = "[";
    for (auto const& item : items)
        result.append(result.size() > 1 ? "," : "").append(json(item));
    return result + "]";
}

std::string json(BoxPartition const& partition)
{
    return "{\"name\":" + jsonString(partition.name) +
           ",\"bytes\":" + std::to_string(partition.sizeBytes) +
           (partition.isDirectory ? ",\"files\":" + list(partition.files) : "") + "}";
}

} // namespace

std::string toJson(BoxState const& state)
{
    std::string const network = "{\"state\":" + jsonString(state.network) + ",\"address\":" +
                                (state.address.empty() ? "null" : jsonString(state.address)) + "}";
    return "{\"directory\":" + jsonString(state.directory) + ",\"leds\":" + list(state.leds) +
           ",\"resets\":{\"fpga\":" + jsonString(state.fpgaReset) +
           ",\"box\":" + jsonString(state.boxReset) +
           "},\"board_revision\":" + json(state.boardRevision) +
           ",\"fpga_revision\":" + json(state.fpgaRevision) +
           ",\"pin_multiplexer\":" + list(state.pinMultiplexer) +
           ",\"eeprom\":{\"erased\":" + (state.isEepromErased ? "true" : "false") +
           ",\"text\":" + list(state.eepromText) + "},\"flash\":" + list(state.flash) +
           ",\"root_file_system\":" + jsonString(state.rootFileSystem) + ",\"network\":" + network +
           ",\"transfers\":" + list(state.transfers) + ",\"commands\":" + list(state.commands) +
           "}";
}

} // namespace dtcctl
