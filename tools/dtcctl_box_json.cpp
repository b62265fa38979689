#include "tools/dtcctl_box_json.h"

#include "tools/dtcctl_json.h"

namespace dtcctl {
namespace {

std::string json(std::string const& text)
{
    return quoted(text);
}

std::string json(unsigned int number)
{
    return std::to_string(number);
}

std::string json(BoxFile const& file)
{
    return "{\"name\":" + quoted(file.name) + ",\"bytes\":" + std::to_string(file.sizeBytes) + "}";
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
    return "{\"name\":" + quoted(partition.name) +
           ",\"bytes\":" + std::to_string(partition.sizeBytes) +
           (partition.isDirectory ? ",\"files\":" + list(partition.files) : "") + "}";
}

} // namespace

std::string toJson(BoxState const& state)
{
    std::string const network = "{\"state\":" + quoted(state.network) + ",\"address\":" +
                                (state.address.empty() ? "null" : quoted(state.address)) + "}";
    return "{\"directory\":" + quoted(state.directory) + ",\"leds\":" + list(state.leds) +
           ",\"resets\":{\"fpga\":" + quoted(state.fpgaReset) +
           ",\"box\":" + quoted(state.boxReset) +
           "},\"board_revision\":" + json(state.boardRevision) +
           ",\"fpga_revision\":" + json(state.fpgaRevision) +
           ",\"pin_multiplexer\":" + list(state.pinMultiplexer) +
           ",\"eeprom\":{\"erased\":" + (state.isEepromErased ? "true" : "false") +
           ",\"text\":" + list(state.eepromText) + "},\"flash\":" + list(state.flash) +
           ",\"root_file_system\":" + quoted(state.rootFileSystem) + ",\"network\":" + network +
           ",\"transfers\":" + list(state.transfers) + ",\"commands\":" + list(state.commands) +
           "}";
}

} // namespace dtcctl
