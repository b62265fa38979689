#include "periph/dtc_periph_pmx.h"

#include "periph/dtc_periph_delay.h"
#include "util/at_load.h"

namespace KORVA::DTC::PERIPH {
namespace {

constexpr unsigned int settlingUs = 10'000;

[[gnu::init_priority(BeforeAdapter)]] LoadTimeInstance<PMX> instance;

} // namespace

PMX::PMX()
{
    map(0x01C40000);
}

PMX::~PMX() noexcept(false) = default;

void PMX::init()
{
    set(0x00000800, 0x00000080);
    clear(0x00030000, 0x00000140);
}

void PMX::set(unsigned int mask0, unsigned int mask1)
{
    registerAt(0) = registerAt(0) | mask0;
    registerAt(1) = registerAt(1) | mask1;
    waitusec(settlingUs);
}

void PMX::clear(unsigned int mask0, unsigned int mask1)
{
    registerAt(0) = registerAt(0) & ~mask0;
    registerAt(1) = registerAt(1) & ~mask1;
    waitusec(settlingUs);
}

volatile unsigned int& PMX::registerAt(unsigned int index)
{
    return static_cast<volatile unsigned int*>(get_base_address())[index];
}

PMX& getPMX()
{
    return instance.get();
}

} // namespace KORVA::DTC::PERIPH
