#pragma once

#include <cstdlib>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>

namespace testing_support {

/// How many of its requests for memory the thread is still granted; -1: all.
extern thread_local int memoryRequestsLeft;

/// Reads what the recording adapters write down.
class AdapterTest : public testing::Test
{
protected:
    AdapterTest() : m_log(std::getenv("DTC_BOX_ROOT") + std::string(".log"))
    {
        setenv("ADAPTER_LOG", m_log.c_str(), 1);
        setReady("");
        takeLog();
    }
    ~AdapterTest() override { unsetenv("ADAPTER_SILENT"); }

    static void setReady(char const* names) { setenv("ADAPTER_READY", names, 1); }

    /// The lines since the last call.
    std::string takeLog()
    {
        std::ifstream file(m_log);
        std::string const log{std::istreambuf_iterator<char>(file), {}};
        std::ofstream{m_log};
        return log;
    }

    /// Whether a library from the adapters' directory, or skylark_io.so, is in the process.
    static bool isLoaded(std::string const& name)
    {
        std::ifstream maps("/proc/self/maps");
        std::string const all{std::istreambuf_iterator<char>(maps), {}};
        return all.find("/" + name + "_io.so") != std::string::npos;
    }

private:
    std::string m_log;
};

} // namespace testing_support
