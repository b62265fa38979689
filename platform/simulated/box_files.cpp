#include "platform/simulated/box_files.h"

#include "platform/simulated/expander.h"
#include "platform/simulated/i2c_devices.h"
#include "util/mutex.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <new>
#include <stdexcept>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace KORVA::DTC::PLATFORM {
namespace {

namespace fs = std::filesystem;

/// Its presence says that the directory is a box, and a complete one.
constexpr char const* markerName = "this-is-a-simulated-box";

constexpr off_t memoryBytes = 0x08010000; // up to the end of the FPGA's second range

[[noreturn]] void refuse(std::string const& directory, std::string const& reason)
{
    throw std::runtime_error("simulated box: " + directory + ": " + reason);
}

[[noreturn]] void refuseWithErrno(std::string const& directory)
{
    refuse(directory, std::strerror(errno));
}

/// A directory of the user's own, that nobody else could have prepared.
std::string privateDirectory()
{
    char const* const temporary = std::getenv("TMPDIR");
    std::string const directory =
        std::string(temporary != nullptr && *temporary == '/' ? temporary : "/tmp") +
        "/skylark_box-" + std::to_string(geteuid());
    if (mkdir(directory.c_str(), 0700) != 0 && errno != EEXIST)
        refuseWithErrno(directory);
    struct stat status = {};
    if (lstat(directory.c_str(), &status) != 0)
        refuseWithErrno(directory);
    if (!S_ISDIR(status.st_mode))
        refuse(directory, "not a directory");
    if (status.st_uid != geteuid())
        refuse(directory, "belongs to another user; name a directory of your own in DTC_BOX_ROOT");
    if ((status.st_mode & 022) != 0)
        refuse(directory, "other users may write to it; make it private or set DTC_BOX_ROOT");
    return directory + "/box";
}

/// A relative name means what it meant at first, wherever the program goes later.
std::string absoluteOnce(std::string const& named)
{
    // Trivially destroyed, because drivers ask until the very end of the process.
    static Mutex mutex;
    static char lastNamed[PATH_MAX];
    static char lastAbsolute[PATH_MAX];
    MutexGuard const guard(mutex);
    if (named != lastNamed) {
        std::error_code error;
        std::string const absolute = fs::absolute(named, error).lexically_normal().string();
        if (error)
            refuse(named, error.message());
        if (named.size() >= PATH_MAX || absolute.size() >= PATH_MAX)
            refuse(named, std::strerror(ENAMETOOLONG));
        lastNamed[named.copy(lastNamed, PATH_MAX - 1)] = '\0';
        lastAbsolute[absolute.copy(lastAbsolute, PATH_MAX - 1)] = '\0';
    }
    return lastAbsolute;
}

bool isBox(std::string const& root)
{
    return access((root + "/" + markerName).c_str(), F_OK) == 0;
}

std::string wantedRoot()
{
    char const* const named = std::getenv("DTC_BOX_ROOT");
    if (named == nullptr || *named == '\0')
        return privateDirectory();
    std::string root = absoluteOnce(named);
    while (root.size() > 1 && root.back() == '/')
        root.pop_back();
    if (root == "/")
        refuse(root, "the machine's own root cannot be a box");
    return root;
}

/// Writes all of it; false with errno. On a full disk the first call writes what there is room for.
bool writeAt(int file, off_t offset, std::string const& content)
{
    std::size_t done = 0;
    while (done < content.size()) {
        ssize_t const written = pwrite(file, content.data() + done, content.size() - done,
                                       offset + static_cast<off_t>(done));
        if (written <= 0)
            return false;
        done += static_cast<std::size_t>(written);
    }
    return true;
}

/// Gives a device's state file its content without replacing the file, which programs may have
/// open.
void setState(std::string const& path, std::string const& content)
{
    OwnedDescriptor const file(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    if (file.get() == -1 || !writeAt(file.get(), 0, content))
        refuseWithErrno(path);
}

/// What the drivers map of the physical memory: the pin multiplexer and the FPGA's two ranges.
struct Range
{
    off_t begin;
    off_t end;
};
constexpr Range mappedRanges[] = {
    {0x01C40000, 0x01C41000}, {0x06000000, 0x06010000}, {0x08000000, memoryBytes}};

bool punchHole(int file, Range const& range)
{
    return fallocate(file, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, range.begin,
                     range.end - range.begin) == 0;
}

/// The physical memory, all zero, and never shorter than it is: programs may have it mapped. What
/// the drivers map keeps its blocks, for a page without one kills whoever touches it on a full
/// disk; the rest has none.
void clearMemory(std::string const& path)
{
    OwnedDescriptor const file(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644));
    bool cleared = file.get() != -1 && ftruncate(file.get(), memoryBytes) == 0;
    off_t done = 0;
    for (Range const& range : mappedRanges) {
        cleared = cleared && punchHole(file.get(), {done, range.begin}) &&
                  writeAt(file.get(), range.begin,
                          std::string(static_cast<std::size_t>(range.end - range.begin), '\0'));
        done = range.end;
    }
    if (!cleared)
        refuseWithErrno(path);
}

std::string bytesOf(Expander const& expander)
{
    return {reinterpret_cast<char const*>(&expander), sizeof expander};
}

/// Everything a new box holds, in a directory that is not in use yet.
void populate(std::string const& root)
{
    for (char const* directory :
         {"bin", "dev/i2c", "etc/init.d", "flash", "log", "mnt", "run", "tmp", "tools", "var/lock"})
        fs::create_directories(root + "/" + directory);
    Expander version;
    version.outside = 0xF2; // the board revision in the low four bits, below pulled-up reset lines
    setState(root + "/dev/i2c/bit_io", bytesOf(Expander()));
    setState(root + "/dev/i2c/version", bytesOf(version));
    setState(root + "/dev/i2c/eeprom", std::string(eepromBytes, '\xFF'));
    setState(root + "/run/eeprom-address", std::string(2, '\0'));
    clearMemory(root + "/dev/mem");
    fs::remove(root + "/dev/null");
    fs::create_symlink("/dev/null", root + "/dev/null");
    writeFile(root + "/run/fpga-revision", "0x0211\n"); // 2.17
    restoreRegisters(root);
    writeStandIns(root);
    writeFile(root + "/" + markerName, "Made by skylark_io; see docs/simulated-box.md.\n");
}

struct RemovedAtEnd
{
    std::string const directory;
    ~RemovedAtEnd()
    {
        try {
            std::error_code ignored;
            fs::remove_all(directory, ignored);
        } catch (std::bad_alloc const&) { // it stays
        }
    }
};

/// Prepared beside its place and moved there whole, so that a box is never seen half made.
void makeBox(std::string const& root)
{
    fs::create_directories(fs::path(root).parent_path());
    std::string fresh = root + ".new.XXXXXX";
    if (mkdtemp(fresh.data()) == nullptr)
        refuseWithErrno(root);
    RemovedAtEnd const prepared{fresh}; // unless it has got its place
    try {
        populate(fresh);
    } catch (std::exception const& error) {
        std::string reason = error.what();
        std::size_t const preparedAt = reason.find(fresh);
        if (preparedAt == std::string::npos)
            throw;
        reason.replace(preparedAt, fresh.size(), root); // the same however often it is tried
        throw std::runtime_error(reason);
    }
    bool const placed = rename(fresh.c_str(), root.c_str()) == 0;
    if (!placed && errno != EEXIST && errno != ENOTEMPTY)
        refuseWithErrno(root);
}

void requireRoomForBox(std::string const& root)
{
    struct stat status = {};
    if (stat(root.c_str(), &status) != 0)
        return;
    if (!S_ISDIR(status.st_mode))
        refuse(root, "not a directory");
    if (!fs::is_empty(root) && !isBox(root)) // another process may have made it just now
        refuse(root, "holds files but is no simulated box; name an empty or a new directory");
}

std::string timeStamp()
{
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    tm local{};
    localtime_r(&now.tv_sec, &local);
    char text[64];
    std::size_t const length = std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &local);
    std::snprintf(text + length, sizeof text - length, ".%03ld", now.tv_nsec / 1'000'000);
    return text;
}

} // namespace

std::string boxRoot()
{
    std::string root = wantedRoot();
    if (root.find_first_of(":\n") != std::string::npos) // it stands in the box's PATH and in logs
        refuse(root, "a colon or a line feed in its name");
    if (isBox(root))
        return root;
    try {
        requireRoomForBox(root);
        makeBox(root);
    } catch (fs::filesystem_error const& error) {
        refuse(root, error.code().message());
    }
    if (!isBox(root))
        refuse(root, "cannot be made a box");
    return root;
}

void renewBox()
{
    std::string const root = boxRoot();
    BoxLock const lock(root);
    if (!lock.isHeld())
        refuseWithErrno(root);
    for (char const* directory : {"bin", "etc", "flash", "log", "mnt", "tmp", "tools", "var"})
        fs::remove_all(root + "/" + directory);
    for (fs::directory_entry const& entry : fs::directory_iterator(root + "/run"))
        if (entry.path().filename() != "lock") // others may wait for it
            fs::remove_all(entry.path());
    populate(root);
}

void restoreRegisters(std::string const& root)
{
    OwnedDescriptor const revision(
        open((root + "/run/fpga-revision").c_str(), O_RDONLY | O_CLOEXEC));
    char text[16] = {};
    if (read(revision.get(), text, sizeof text - 1) <= 0)
        return;
    auto const value = static_cast<std::uint16_t>(std::strtoul(text, nullptr, 0));
    OwnedDescriptor const memory(open((root + "/dev/mem").c_str(), O_WRONLY | O_CLOEXEC));
    ssize_t const written = pwrite(memory.get(), &value, sizeof value, fpgaRevisionRegister);
    static_cast<void>(written);
}

BoxLock::BoxLock(std::string const& root)
    : m_file(open((root + "/run/lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644))
{
    do {
        m_isHeld = flock(m_file.get(), LOCK_EX) == 0;
    } while (!m_isHeld && errno == EINTR);
}

void appendToLog(std::string const& root, char const* name, std::string const& line)
{
    constexpr off_t largestLog = 1 << 20;
    std::string const path = root + "/log/" + name + ".log";
    struct stat status = {};
    if (stat(path.c_str(), &status) == 0 && status.st_size > largestLog)
        rename(path.c_str(), (path + ".1").c_str());
    std::string text = timeStamp() + " " + std::to_string(getpid()) + " " + line;
    std::replace(text.begin(), text.end(), '\n', ' ');
    text += '\n';
    OwnedDescriptor const log(open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644));
    ssize_t const written = write(log.get(), text.data(), text.size());
    static_cast<void>(written); // a log that cannot be written must not keep the box from working
}

void writeFile(std::string const& path, std::string const& content, unsigned int mode)
{
    std::string const fresh = path + ".new";
    OwnedDescriptor file(open(fresh.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, mode));
    if (file.get() == -1 || !writeAt(file.get(), 0, content))
        refuseWithErrno(path);
    file.reset(); // a command that is still open for writing cannot be run
    if (rename(fresh.c_str(), path.c_str()) != 0)
        refuseWithErrno(path);
}

} // namespace KORVA::DTC::PLATFORM
