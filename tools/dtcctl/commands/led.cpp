#include <skylark_io/periph/dtc_periph_led.h>

#include "tools/dtcctl/commands.h"
#include "tools/dtcctl/support/failure.h"
#include "tools/dtcctl/support/input.h"
#include "tools/dtcctl/support/interrupt.h"
#include "tools/dtcctl/support/library_call.h"
#include "tools/dtcctl/support/options.h"

#include <memory>

namespace dtcctl {
namespace {

using KORVA::DTC::PERIPH::I2C_LED;

struct LedOptions
{
    std::string number;
    std::string action;
    std::string blinks;
};

I2C_LED& ledOf(std::string const& number)
{
    if (number == "0")
        return KORVA::DTC::PERIPH::getI2CLed0();
    return number == "1" ? KORVA::DTC::PERIPH::getI2CLed1() : KORVA::DTC::PERIPH::getI2CLed2();
}

void switchLed(I2C_LED& led, void (I2C_LED::*change)())
{
    BusHold const hold(pinTimeoutMs);
    led.init();
    (led.*change)();
}

/// Others may use the bus between two toggles. An interruption shortens it, but the LED still ends
/// as it began.
void blink(I2C_LED& led, unsigned int times)
{
    constexpr unsigned int toggleIntervalMs = 100;
    catchInterrupts();
    for (unsigned int toggles = 0; toggles < 2 * times; ++toggles) {
        if (interrupted() && toggles % 2 == 0)
            return;
        if (toggles > 0)
            sleepUnlessInterrupted(toggleIntervalMs);
        switchLed(led, &I2C_LED::toggle);
    }
}

void operate(LedOptions const& options)
{
    constexpr unsigned int mostBlinks = 1'000'000;
    I2C_LED& led = ledOf(options.number);
    if ((options.action == "blink") == options.blinks.empty())
        throw UsageError("\"blink\" takes a number of times, the other actions take none");
    if (options.action == "blink")
        blink(led, parseNumber(options.blinks, mostBlinks));
    else if (options.action == "toggle")
        switchLed(led, &I2C_LED::toggle);
    else
        switchLed(led, options.action == "on" ? &I2C_LED::set : &I2C_LED::clear);
}

} // namespace

void addLed(CLI::App& program)
{
    auto const options = std::make_shared<LedOptions>();
    CLI::App& command = *program.add_subcommand("led", "Switch one of the box's three LEDs");
    among(command.add_option("LED", options->number, "0, 1 or 2"), {"0", "1", "2"})->required();
    among(command.add_option("ACTION", options->action, "on, off, toggle or blink"),
          {"on", "off", "toggle", "blink"})
        ->required();
    command.add_option("N", options->blinks, "How many times to blink, five times a second");
    command.callback([options] { operate(*options); });
}

} // namespace dtcctl
