#include "adapter/skylark_io_adapter_error_text.h"

#include <gtest/gtest.h>
#include <thread>

using KORVA::DTC::ErrorText;

namespace {

// Two threads fail on one connection, and each hands the text on while the other one fails again.
TEST(ErrorTextTest, CanBeCopiedWhileOtherThreadsFail)
{
    ErrorText connection;
    ErrorText last;
    auto const fail = [&](std::string const& own) {
        for (int i = 0; i < 5000; ++i) {
            connection.set(own);
            last.set(connection);
        }
    };
    std::thread other(fail, std::string(600, '2'));
    fail(std::string(40, '1'));
    other.join();
    std::string const text = last.c_str();
    EXPECT_TRUE(text == std::string(40, '1') || text == std::string(600, '2')) << text;
}

} // namespace
