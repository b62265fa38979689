#pragma once

#include "tests/support/box_state.h"

#include <gtest/gtest.h>

namespace testing_support {

/// Reads what the recording adapters write down.
class AdapterTest : public testing::Test
{
protected:
    AdapterTest() : m_log(std::getenv("DTC_BOX_ROOT") + std::string(".log"))
    {
        setenv("ADAPTER_LOG", m_log.c_str(), 1);
        setenv("ADAPTER_READY", "", 1);
        takeLog();
    }
    ~AdapterTest() override { unsetenv("ADAPTER_SILENT"); }

    /// The lines since the last call.
    std::string takeLog()
    {
        std::string log = contentOf(m_log);
        std::ofstream{m_log};
        return log;
    }

    /// Whether a library from the adapters' directory, or skylark_io.so, is in the process.
    static bool isLoaded(std::string const& name)
    {
        return contentOf("/proc/self/maps").find("/" + name + "_io.so") != std::string::npos;
    }

private:
    std::string m_log;
};

} // namespace testing_support
