// Gives each test process a simulated box of its own, which goes when the process ends. The
// environment is set before any static object of the program is made, because drivers map the box's
// memory that early.
#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace {

pid_t owner = 0;

void removeBox()
{
    if (getpid() != owner) // a child that forked
        return;
    std::error_code ignored;
    std::filesystem::remove_all(std::filesystem::path(std::getenv("DTC_BOX_ROOT")).parent_path(),
                                ignored);
}

__attribute__((constructor(101))) void makeRoomForBox()
{
    // Spaces and quotes, because any directory serves.
    char directory[] = "/tmp/it's a \"test\" box.XXXXXX";
    if (mkdtemp(directory) == nullptr)
        std::abort();
    owner = getpid();
    setenv("DTC_BOX_ROOT", (std::string(directory) + "/box").c_str(), 1);
    std::atexit(removeBox);
}

} // namespace
