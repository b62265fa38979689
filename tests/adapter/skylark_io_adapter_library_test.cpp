#include "adapter/dtc_io.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <memory>
#include <set>
#include <string>
#include <sys/stat.h>

using testing::AnyOf;
using testing::ElementsAre;
using testing::StartsWith;

namespace {

/// skylark_io.so as a program loads it, with the entry points that the tests use.
class Library
{
public:
    Library() : m_handle(dlopen(SKYLARK_LIBRARY, RTLD_NOW | RTLD_LOCAL), dlclose)
    {
        if (m_handle == nullptr)
            throw std::runtime_error(dlerror());
        bind(version, "DTC_Get_Version");
        bind(status, "DTC_Get_Status");
        bind(error, "DTC_Get_Error");
        bind(create, "DTC_IO_Create");
        bind(open, "DTC_IO_Open");
        bind(close, "DTC_IO_Close");
        bind(send, "DTC_IO_Send_V2");
        bind(receive, "DTC_IO_Receive");
        bind(receiveReady, "DTC_IO_Receive_Ready");
        bind(localId, "DTC_IO_Local_Id");
        bind(getState, "DTC_IO_Get_State");
    }

    void* handle() const { return m_handle.get(); }

    decltype(&DTC_Get_Version) version;
    decltype(&DTC_Get_Status) status;
    decltype(&DTC_Get_Error) error;
    decltype(&DTC_IO_Create) create;
    decltype(&DTC_IO_Open) open;
    decltype(&DTC_IO_Close) close;
    decltype(&DTC_IO_Send_V2) send;
    decltype(&DTC_IO_Receive) receive;
    decltype(&DTC_IO_Receive_Ready) receiveReady;
    decltype(&DTC_IO_Local_Id) localId;
    decltype(&DTC_IO_Get_State) getState;

private:
    template <typename Function>
    void bind(Function& function, char const* name)
    {
        function = reinterpret_cast<Function>(dlsym(m_handle.get(), name));
        if (function == nullptr)
            throw std::runtime_error(name);
    }

    std::unique_ptr<void, int (*)(void*)> m_handle;
};

bool isLoaded()
{
    std::ifstream maps("/proc/self/maps");
    for (std::string line; std::getline(maps, line);) {
        if (line.find("skylark_io.so") != std::string::npos)
            return true;
    }
    return false;
}

int openDescriptors()
{
    int count = 0;
    std::unique_ptr<DIR, int (*)(DIR*)> const directory(opendir("/proc/self/fd"), closedir);
    while (readdir(directory.get()) != nullptr)
        ++count;
    return count;
}

/// One message to the server and back, through the C functions.
void exchange(Library const& library, void* server, void* client, unsigned int port = 55755)
{
    unsigned int word = 0x12345678;
    unsigned int count = 0;
    unsigned int id = 0;
    unsigned int from = 0;
    unsigned int tag = 0;
    ASSERT_EQ(library.send(client, 0, 7, &word, 4, &count), DTC_IO_SUCCESS);
    ASSERT_EQ(library.receiveReady(server, 20'000), DTC_IO_SUCCESS);
    ASSERT_EQ(library.receive(server, &from, &tag, &word, 4, &count, 20'000), DTC_IO_SUCCESS);
    ASSERT_EQ(library.localId(client, &id), DTC_IO_SUCCESS);
    EXPECT_EQ(from, id);
    word = ~word;
    ASSERT_EQ(library.send(server, from, tag + 1, &word, 4, &count), DTC_IO_SUCCESS);
    ASSERT_EQ(library.receive(client, &from, &tag, &word, 4, &count, 20'000), DTC_IO_SUCCESS);
    EXPECT_EQ(word, ~0x12345678U);
    EXPECT_EQ(tag, 8U);
    EXPECT_EQ(from, port);
}

TEST(LibraryTest, LetsOutWhatItPromisesAndNothingElse)
{
    std::set<std::string> functions;
    std::unique_ptr<FILE, int (*)(FILE*)> const nm(
        popen(NM " --dynamic --defined-only --demangle --format=posix " SKYLARK_LIBRARY, "r"),
        pclose);
    std::array<char, 4096> line;
    while (std::fgets(line.data(), line.size(), nm.get()) != nullptr) {
        std::string const symbol(line.data(), std::strcspn(line.data(), " \n"));
        if (symbol.rfind("DTC_", 0) == 0)
            functions.insert(symbol);
        else
            EXPECT_THAT(line.data(), AnyOf(StartsWith("KORVA::"), StartsWith("vtable for KORVA::"),
                                           StartsWith("_anyAddressInThisModuleWillDo "),
                                           StartsWith("typeinfo for KORVA::"),
                                           StartsWith("typeinfo name for KORVA::")));
    }
    EXPECT_THAT(functions,
                ElementsAre("DTC_Get_Error", "DTC_Get_Status", "DTC_Get_Version", "DTC_IO_Close",
                            "DTC_IO_Create", "DTC_IO_Get_State", "DTC_IO_Local_Id", "DTC_IO_Open",
                            "DTC_IO_Receive", "DTC_IO_Receive_Ready", "DTC_IO_Send_V2"));
}

TEST(LibraryTest, HandsOutConnectionsOrTheReasonForNone)
{
    Library const library;
    EXPECT_STREQ(library.version(), "Korvane Skylark Ethernet");
    EXPECT_STREQ(library.error(), "");
    void* client = &client;
    EXPECT_EQ(library.open("0x7F000001", "dtc_io", &client), DTC_IO_NO_CONNECTION);
    EXPECT_EQ(client, nullptr);
    EXPECT_STREQ(library.error(), "Error on socket connect: Connection refused (ECONNREFUSED)"
                                  ": Check the IP address");
    void* server = nullptr;
    ASSERT_EQ(library.create("dtc_io", 0, &server), DTC_IO_SUCCESS) << library.error();
    EXPECT_EQ(library.status(), 0);
    ASSERT_EQ(library.open("x:2130706433", "dtc_io", &client), DTC_IO_SUCCESS) << library.error();
    exchange(library, server, client);

    EXPECT_EQ(library.receiveReady(client, 0), DTC_IO_TIMEOUT);
    EXPECT_STREQ(library.error(), "Select() timed out");
    EXPECT_EQ(library.localId(client, nullptr), DTC_IO_INVALID);
    auto* state = reinterpret_cast<DTC_IO_LOADERIF*>(&client);
    EXPECT_EQ(library.getState(client, &state), DTC_IO_SUCCESS);
    EXPECT_EQ(state, nullptr);
    EXPECT_EQ(library.getState(server, nullptr), DTC_IO_SUCCESS);

    library.close(client);
    library.close(client); // the adapter holds it no more
    EXPECT_EQ(library.receiveReady(server, 20'000), DTC_IO_SUCCESS) << "the client's farewell";
    unsigned int word = 0;
    EXPECT_EQ(library.receive(server, &word, &word, &word, 4, &word, 20'000), DTC_IO_DISCONNECTED);
    EXPECT_STREQ(library.error(), "Client has disconnected");
    library.close(nullptr);
}

TEST(LibraryTest, UnloadsAThousandTimesWhateverIsStillOpen)
{
    int const before = openDescriptors();
    for (int i = 0; i < 1000; ++i) {
        {
            Library const library;
            ASSERT_TRUE(isLoaded());
            if (i % 20 == 0) {
                void* server = nullptr;
                void* client = nullptr;
                ASSERT_EQ(library.create("dtc_io", 0, &server), DTC_IO_SUCCESS) << library.error();
                ASSERT_EQ(library.open("0x7F000001", "dtc_io", &client), DTC_IO_SUCCESS);
                exchange(library, server, client);
            }
        }
        ASSERT_FALSE(isLoaded()) << i;
        ASSERT_EQ(openDescriptors(), before) << i;
    }
}

std::string boxPath(char const* path)
{
    return std::getenv("DTC_BOX_ROOT") + std::string(path);
}

/// What a driver's accessor throws, "" when it throws nothing. The accessor is found by its mangled
/// name.
std::string failureOf(Library const& library, char const* accessor)
{
    auto const get = reinterpret_cast<void* (*)()>(dlsym(library.handle(), accessor));
    try {
        get();
    } catch (std::exception const& error) {
        return error.what();
    }
    return "";
}

// Without its devices the library loads at once and moves messages; who needs the devices is told
// so at the first use, and is served once they are there.
TEST(LibraryTest, LoadsAndServesWithoutItsDevices)
{
    constexpr char const* getFpga = "_ZN5KORVA3DTC6PERIPH7getFPGAEv";
    constexpr char const* getPmx = "_ZN5KORVA3DTC6PERIPH6getPMXEv";
    {
        Library const makesTheBox;
    }
    std::string const memory = boxPath("/dev/mem");
    std::string const aside = memory + ".aside";
    struct
    {
        std::function<void()> prepare;
        char const* failure;
    } const cases[] = {
        {[&] { std::filesystem::rename(memory, aside); }, "/dev/mem could not be opened"},
        {[&] { mkfifo(memory.c_str(), 0600); }, "call to mmap() failed"},
        {[&] { std::filesystem::rename(boxPath("/dev/i2c"), boxPath("/dev/i2c.aside")); },
         "call to mmap() failed"}};
    for (auto const& c : cases) {
        c.prepare();
        Library const library;
        void* server = nullptr;
        void* client = nullptr;
        ASSERT_EQ(library.create("dtc_conf", 0, &server), DTC_IO_SUCCESS) << library.error();
        ASSERT_EQ(library.open("0x7F000001", "dtc_conf", &client), DTC_IO_SUCCESS);
        exchange(library, server, client, 55756);
        for (char const* accessor : {getFpga, getPmx}) {
            EXPECT_THAT(failureOf(library, accessor), testing::HasSubstr(c.failure))
                << "what the load met";
            EXPECT_THAT(failureOf(library, accessor), testing::HasSubstr(c.failure))
                << "tried again";
        }
        if (std::filesystem::exists(boxPath("/dev/i2c")))
            continue;
        std::filesystem::rename(aside, memory);
        EXPECT_EQ(failureOf(library, getFpga), "");
        EXPECT_EQ(failureOf(library, getPmx), "");
        std::filesystem::rename(boxPath("/dev/i2c.aside"), boxPath("/dev/i2c"));
    }
    EXPECT_FALSE(isLoaded());
}

} // namespace
