#pragma once

#include <fcntl.h>
#include <filesystem>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace testing_support {

/// How many descriptors the process has open.
inline std::size_t openDescriptors()
{
    std::filesystem::directory_iterator const all("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(all), end(all))) - 1; // but this one
}

inline int optionOf(int descriptor, int level, int name)
{
    int value = 0;
    socklen_t size = sizeof value;
    getsockopt(descriptor, level, name, &value, &size);
    return value;
}

/// Lets the process open no descriptor, or none from a number on, until destroyed.
class NoMoreDescriptors
{
public:
    explicit NoMoreDescriptors(int limit = 0)
    {
        getrlimit(RLIMIT_NOFILE, &m_previous);
        rlimit const changed{static_cast<rlim_t>(limit), m_previous.rlim_max};
        setrlimit(RLIMIT_NOFILE, &changed);
    }
    ~NoMoreDescriptors() { setrlimit(RLIMIT_NOFILE, &m_previous); }
    NoMoreDescriptors(NoMoreDescriptors const&) = delete;
    NoMoreDescriptors& operator=(NoMoreDescriptors const&) = delete;

private:
    rlimit m_previous{};
};

/// Takes every descriptor below a number, so that the next one opened is that number or larger.
class DescriptorsBelow
{
public:
    explicit DescriptorsBelow(int limit) : m_limit(limit + 64)
    {
        while (m_taken.empty() || m_taken.back() < limit - 1)
            m_taken.push_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
    }
    ~DescriptorsBelow()
    {
        for (int const descriptor : m_taken)
            close(descriptor);
    }

private:
    NoMoreDescriptors m_limit;
    std::vector<int> m_taken;
};

} // namespace testing_support
