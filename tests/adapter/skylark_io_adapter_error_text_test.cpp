#include "adapter/skylark_io_adapter_error_text.h"

#include <gtest/gtest.h>
#include <thread>

using KORVA::DTC::ErrorText;

namespace {

// One thread fails and copies its text while another one fails too.
TEST(ErrorTextTest, CanBeReadWhileAnotherThreadFails)
{
    ErrorText text;
    EXPECT_STREQ(text.c_str(), "");
    std::string const one(40, '1');
    std::string const two(60, '2');
    auto const failAndCopy = [&](std::string const& own) {
        for (int i = 0; i < 5000; ++i) {
            text.set(own);
            std::string const seen = text.c_str();
            EXPECT_TRUE(seen == one || seen == two) << seen;
            std::this_thread::yield(); // far fewer failures than texts are kept meanwhile
        }
    };
    std::thread other(failAndCopy, two);
    failAndCopy(one);
    other.join();
}

} // namespace
