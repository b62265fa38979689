#include "periph/dtc_periph_led.h"

#include "periph/dtc_periph_expander.h"
#include "periph/dtc_periph_i2c.h"
#include "util/at_load.h"

namespace KORVA::DTC::PERIPH {
namespace {

[[gnu::init_priority(BeforeAdapter)]] AtLoad const made([] {
    getI2CLed0();
    getI2CLed1();
    getI2CLed2();
});

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
    static I2C_LED led(0);
    return led;
}

I2C_LED& getI2CLed1()
{
    static I2C_LED led(1);
    return led;
}

I2C_LED& getI2CLed2()
{
    static I2C_LED led(2);
    return led;
}

} // namespace KORVA::DTC::PERIPH
