#include "conf/dtc_conf_status.h"

#include <cstdlib>
#include <gtest/gtest.h>
#include <ostream>

using namespace KORVA::DTC::CONF;

namespace {

TEST(ConfExceptionTest, ComposesItsMessage)
{
    struct
    {
        int status;
        char const* detail;
        char const* message;
    } const cases[] = {{17, "x", "configuration data corrupted : x"},
                       {5, "fooBar", "invalid variable name : fooBar"},
                       {11, nullptr, "unable to load configuration adapter"},
                       {1, "", "operation failed : "},
                       {0, nullptr, "operation failed"},
                       {18, nullptr, "operation failed"},
                       {-1, nullptr, "operation failed"}};
    for (auto const& c : cases) {
        Exception const original("file", 1, static_cast<Status>(c.status), c.detail);
        Exception const copy = original;
        EXPECT_STREQ(copy.what(), c.message);
        EXPECT_EQ(copy.status(), c.status);
    }
}

TEST(ConfStatusTest, KeepsAnErrorTextAndALogSwitch)
{
    EXPECT_EQ(errorText(), "none");
    setError(nullptr);
    EXPECT_EQ(errorText(), "none");
    setError("");
    EXPECT_EQ(errorText(), "");

    for (char const* off : {"TRUE", "1", ""}) {
        setenv("DTC_CONF_LOGGING", off, 1);
        EXPECT_FALSE(isLogEnabled()) << off;
    }
    testing::internal::CaptureStdout();
    diagnostics() << "discarded" << std::endl;
    logEnable();
    diagnostics() << "seen" << std::endl;
    logDisable();
    diagnostics() << "discarded" << std::endl;
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "seen\n");
    setenv("DTC_CONF_LOGGING", "true", 1);
    logDisable();
    EXPECT_TRUE(isLogEnabled()) << "the environment wins";
}

} // namespace
