#include "bench/compare/contender_process.h"

#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {
namespace {

constexpr int descriptor = 3;

void require(bool success, char const* what)
{
    if (success)
        return;
    std::perror(what);
    std::exit(1);
}

} // namespace

ContenderProcess::ContenderProcess(std::string const& program, char const* role, unsigned int port)
{
    int ends[2];
    require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0, "socketpair");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    // Through another number, for a descriptor made to be itself would stay close-on-exec.
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, STDIN_FILENO, descriptor);
    std::string texts[] = {program, role, std::to_string(descriptor), std::to_string(port)};
    char* arguments[] = {texts[0].data(), texts[1].data(), texts[2].data(), texts[3].data(),
                         nullptr};
    errno = posix_spawn(&m_process, program.c_str(), &actions, nullptr, arguments, environ);
    require(errno == 0, program.c_str());
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    m_orders = ends[0];
    read(&m_port, sizeof m_port);
}

ContenderProcess::~ContenderProcess()
{
    close(m_orders);
    int status = 0;
    waitpid(m_process, &status, 0);
    if (status != 0)
        std::fprintf(stderr, "a contender ended with status %d\n", status);
}

void ContenderProcess::order(Exchange const& exchange)
{
    require(write(m_orders, &exchange, sizeof exchange) == sizeof exchange, "order");
}

Cost ContenderProcess::cost()
{
    Cost cost{};
    read(&cost, sizeof cost);
    return cost;
}

void ContenderProcess::read(void* answer, std::size_t size)
{
    require(recv(m_orders, answer, size, MSG_WAITALL) == static_cast<ssize_t>(size), "answer");
}

double ContenderProcess::peakKib() const
{
    std::ifstream status("/proc/" + std::to_string(m_process) + "/status");
    for (std::string word; status >> word;) {
        double kib = 0;
        if (word == "VmHWM:" && status >> kib)
            return kib;
    }
    return 0;
}

} // namespace bench
