#include "tests/support/descriptors.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

namespace testing_support {
namespace {

rlim_t setDescriptorLimit(rlim_t soft)
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    rlim_t const previous = limit.rlim_cur;
    limit.rlim_cur = soft;
    setrlimit(RLIMIT_NOFILE, &limit);
    return previous;
}

} // namespace

std::size_t openDescriptors()
{
    std::size_t count = 0;
    DIR* const directory = opendir("/proc/self/fd");
    while (readdir(directory) != nullptr)
        ++count;
    closedir(directory);
    return count - 3; // ".", ".." and the directory's own
}

DescriptorsBelow::DescriptorsBelow(int limit)
{
    setDescriptorLimit(static_cast<rlim_t>(limit) + 64);
    for (int taken = 0; taken < limit - 1;) {
        taken = open("/dev/null", O_RDONLY | O_CLOEXEC);
        if (taken >= limit) {
            close(taken);
            break;
        }
        m_taken.push_back(taken);
    }
}

DescriptorsBelow::~DescriptorsBelow()
{
    for (int const descriptor : m_taken)
        close(descriptor);
}

NoMoreDescriptors::NoMoreDescriptors()
{
    int const next = open("/dev/null", O_RDONLY | O_CLOEXEC);
    close(next);
    m_previousLimit = setDescriptorLimit(static_cast<rlim_t>(next));
}

NoMoreDescriptors::~NoMoreDescriptors()
{
    setDescriptorLimit(m_previousLimit);
}

} // namespace testing_support
