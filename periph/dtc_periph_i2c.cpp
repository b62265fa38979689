#include "periph/dtc_periph_i2c.h"

#include "periph/dtc_periph_exception.h"
#include "periph/dtc_periph_i2c_c.h"
#include "util/at_load.h"

namespace KORVA::DTC::PERIPH {
namespace {

constexpr char const* fileName = "dtc_periph_i2c";

[[gnu::init_priority(BeforeAdapter)]] I2C bus;

} // namespace

I2C::~I2C() noexcept(false)
{
    I2C_close(1);
}

void I2C::init()
{
    if (I2C_init(1) == -1)
        throw Exception(fileName, __LINE__, OperationFailed, "I2C DEVICE OPEN FAILURE");
}

void I2C::write(unsigned int address, unsigned char* data, unsigned int length)
{
    if (I2C_write(static_cast<unsigned short>(address), data, static_cast<unsigned short>(length),
                  1) == -1)
        throw Exception(fileName, __LINE__, OperationFailed, "I2C WRITE FAILURE");
}

void I2C::read(unsigned int address, unsigned char* data, unsigned int length)
{
    if (I2C_read(static_cast<unsigned short>(address), data, static_cast<unsigned short>(length),
                 1) == -1)
        throw Exception(fileName, __LINE__, OperationFailed, "I2C READ FAILURE");
}

I2C& getI2C()
{
    return bus;
}

} // namespace KORVA::DTC::PERIPH
