/// The box's shell: the desk's /bin/sh, in which the box's paths lead under the box's directory and
/// only the stand-ins and a few harmless tools are found.
#include "platform/platform.h"

#include "platform/simulated/box_files.h"
#include "platform/simulated/faults.h"
#include "platform/simulated/shell_text.h"
#include "util/descriptor.h"
#include "util/file_stream.h"
#include "util/mutex.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>
#include <fcntl.h>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace KORVA::DTC::PLATFORM {
namespace {

struct RunningCommand
{
    std::FILE* stream;
    pid_t process;
};

Mutex commandsMutex;
std::array<RunningCommand, 64> commands KORVA_GUARDED_BY(commandsMutex){};

RunningCommand* findCommand(std::FILE const* stream) KORVA_REQUIRES(commandsMutex)
{
    auto* const found =
        std::find_if(commands.begin(), commands.end(),
                     [stream](RunningCommand const& command) { return command.stream == stream; });
    return found != commands.end() ? found : nullptr;
}

/// Starts the shell in the box's directory, with output as its standard output; 0 on failure.
pid_t spawnShell(std::string const& root, std::string const& script, int output)
{
    std::string words[] = {"sh", "-c", script};
    char* const arguments[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
    std::string variables[] = {"PATH=" + root + "/bin", "DTC_BOX=" + root, "HOME=" + root,
                               "LC_ALL=C"};
    char* const environment[] = {variables[0].data(), variables[1].data(), variables[2].data(),
                                 variables[3].data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addchdir_np(&actions, root.c_str());
    pid_t process = 0;
    int const error = posix_spawn(&process, "/bin/sh", &actions, nullptr, arguments, environment);
    posix_spawn_file_actions_destroy(&actions);
    errno = error;
    return error == 0 ? process : 0;
}

/// What the shell is given: a command that names a path outside the box is refused as a whole.
std::string scriptFor(char const* command)
{
    if (climbs(command))
        return "echo 'simulated box: a path climbs out of the box' >&2; exit 1";
    return ledUnderBox(command);
}

std::FILE* start(std::string const& root, char const* command)
{
    MutexGuard const guard(commandsMutex);
    RunningCommand* const place = findCommand(nullptr);
    int ends[2];
    if (place == nullptr)
        errno = EMFILE;
    if (place == nullptr || pipe2(ends, O_CLOEXEC) != 0)
        return nullptr;
    OwnedDescriptor readEnd(ends[0]);
    OwnedDescriptor const writeEnd(ends[1]);
    FileStream stream(fdopen(readEnd.get(), "r"));
    if (stream == nullptr)
        return nullptr;
    static_cast<void>(readEnd.release()); // the stream has it
    pid_t const process = spawnShell(root, scriptFor(command), writeEnd.get());
    if (process == 0)
        return nullptr;
    *place = {stream.get(), process};
    return stream.release();
}

} // namespace

std::FILE* openShell(char const* command)
{
    if (FAULTS::isNextCommandRefused()) {
        errno = EAGAIN;
        return nullptr;
    }
    try {
        std::string const root = boxRoot();
        {
            BoxLock const lock(root);
            restoreRegisters(root);
            appendToLog(root, "commands", command);
        }
        return start(root, command);
    } catch (std::exception const& error) {
        std::fprintf(stderr, "%s\n", error.what());
        errno = ENOENT;
        return nullptr;
    }
}

int closeShell(std::FILE* stream)
{
    pid_t process = 0;
    {
        MutexGuard const guard(commandsMutex);
        RunningCommand* const command = findCommand(stream);
        if (command != nullptr) {
            process = command->process;
            *command = RunningCommand{};
        }
    }
    std::fclose(stream);
    int status = -1;
    while (process != 0 && waitpid(process, &status, 0) == -1 && errno == EINTR) {
    }
    return status;
}

} // namespace KORVA::DTC::PLATFORM
