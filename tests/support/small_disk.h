#pragma once

#include "tests/support/child.h"

#include <fstream>
#include <sched.h>
#include <sys/mount.h>

namespace testing_support {

/// Mounts a disk of that size over the directory, in namespaces of this process's own.
inline bool mountSmallDisk(std::string const& directory, std::string const& size)
{
    std::string const user = "0 " + std::to_string(geteuid()) + " 1";
    std::string const group = "0 " + std::to_string(getegid()) + " 1";
    if (unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0)
        return false;
    std::ofstream("/proc/self/uid_map") << user;
    std::ofstream("/proc/self/setgroups") << "deny";
    std::ofstream("/proc/self/gid_map") << group;
    return mount("none", directory.c_str(), "tmpfs", 0, ("size=" + size).c_str()) == 0;
}

/// Runs a test's body on such a disk, where one can be made; otherwise the test is skipped.
template <typename Body>
void onSmallDisk(std::string const& directory, std::string const& size, Body body)
{
    constexpr int impossible = 77;
    int const status = Fork([&] {
                           if (!mountSmallDisk(directory, size))
                               _exit(impossible);
                           body();
                       }).wait();
    if (status == impossible)
        GTEST_SKIP() << "no namespace with a disk of its own can be made here";
    EXPECT_EQ(status, 0);
}

} // namespace testing_support
