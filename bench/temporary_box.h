#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace bench {

/// A simulated box in a directory of its own, which goes with it. To be made before the drivers map
/// the box's memory, which they do while static objects are made.
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
    char m_directory[32] = "/tmp/bench_box.XXXXXX";
};

} // namespace bench
