#include "periph/dtc_periph_delay.h"
#include "periph/dtc_periph_exception.h"
#include "tests/support/signal_storm.h"

#include <chrono>
#include <gtest/gtest.h>
#include <tuple>

using namespace KORVA::DTC::PERIPH;

namespace {

TEST(PeriphExceptionTest, ComposesItsMessage)
{
    std::tuple<char const*, int, char const*, char const*> const cases[] = {
        {"module", Timeout, "/var/lock/i2c", "module(78) : timeout : /var/lock/i2c"},
        {"module", UnmapFailed, nullptr, "module(78) : unable to unmap virtual address"},
        {nullptr, Timeout, "x", "timeout : x"},
        {nullptr, MapFailed, "", "unable to map physical address into virtual address space : "},
        {nullptr, InvalidCallSequence, nullptr, "invalid call sequence"},
        {nullptr, AccessProtected, nullptr, "access protected"},
        {nullptr, 7, nullptr, "unknown status"}};
    for (auto const& [file, status, detail, message] : cases) {
        Exception const original(file, 78, static_cast<Status>(status), detail);
        Exception const copy = original;
        EXPECT_STREQ(copy.what(), message);
        EXPECT_EQ(copy.status(), status);
    }
}

TEST(DelayTest, LastsAtLeastAsLongAsAskedWhateverSignalsCome)
{
    testing_support::SignalStorm const storm;
    auto const start = std::chrono::steady_clock::now();
    waitusec(300);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::microseconds(300));
    waitmsec(20);
    waitusec(20'000);
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::microseconds(40'300));
}

} // namespace
