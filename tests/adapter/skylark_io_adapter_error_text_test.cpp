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
    EXPECT_STREQ(last.c_str(), "");
    std::string const one(40, '1');
    std::string const two(600, '2');
    auto const fail = [&](std::string const& own) {
        for (int i = 0; i < 5000; ++i) {
            connection.set(own);
            last.set(connection);
        }
    };
    std::thread other(fail, two);
    fail(one);
    other.join();
    EXPECT_TRUE(last.c_str() == one || last.c_str() == two) << last.c_str();
}

} // namespace
