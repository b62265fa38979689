#include "conf/dtc_conf_gpp_bus.h"

#include "periph/dtc_periph_led.h"
#include "util/uthread.h"

void flashLED(KORVA::DTC::PERIPH::I2C_LED& led, unsigned int count)
{
    constexpr unsigned int timeoutMs = 1000;
    constexpr unsigned int pauseMs = 100;
    KORVA::DTC::CONF::BusTurn const turn(timeoutMs);
    try {
        for (unsigned int i = 0; i < 2 * count; ++i) {
            if (i > 0)
                KORVA::uThread::Sleep(pauseMs);
            led.toggle();
        }
    } catch (...) { // an acknowledgement that cannot be given is no failure
    }
}
