#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

/// A simulated box in a temporary directory, for as long as the program runs. Make it with
/// init_priority(101): before the drivers map the box's memory, which they do while static objects
/// are made.
class TemporaryBox
{
public:
    TemporaryBox()
    {
        if (mkdtemp(m_directory) == nullptr)
            std::abort();
        setenv("DTC_BOX_ROOT", (std::string(m_directory) + "/box").c_str(), 1);
    }
    ~TemporaryBox()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_directory, ignored);
    }
    TemporaryBox(TemporaryBox const&) = delete;
    TemporaryBox& operator=(TemporaryBox const&) = delete;

private:
    char m_directory[32] = "/tmp/skylark_bench.XXXXXX";
};
