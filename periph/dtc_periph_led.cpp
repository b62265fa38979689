#include "periph/dtc_periph_led.h"

#include "periph/dtc_periph_expander.h"
#include "periph/dtc_periph_i2c.h"
#include "util/at_load.h"

namespace KORVA::DTC::PERIPH {
namespace {

[[gnu::init_priority(BeforeAdapter)]] I2C_LED leds[] = {I2C_LED(0), I2C_LED(1), I2C_LED(2)};

} // namespace

I2C_LED::I2C_LED(unsigned int pin) : m_pin(pin & 7) {}

I2C_LED::~I2C_LED() = default;

void I2C_LED::init()
{
    getI2C().init();
    changePin(LED_I2C_ADDR, ExpanderRegister::Configuration, m_pin, false);
}

void I2C_LED::set()
{
    changePin(LED_I2C_ADDR, ExpanderRegister::Output, m_pin, false);
}

void I2C_LED::clear()
{
    changePin(LED_I2C_ADDR, ExpanderRegister::Output, m_pin, true);
}

void I2C_LED::toggle()
{
    togglePin(LED_I2C_ADDR, ExpanderRegister::Output, m_pin);
}

I2C_LED& getI2CLed0()
{
    return leds[0];
}

I2C_LED& getI2CLed1()
{
    return leds[1];
}

I2C_LED& getI2CLed2()
{
    return leds[2];
}

} // namespace KORVA::DTC::PERIPH
