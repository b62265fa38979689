#include "adapter/dtc_io.h"
#include "tests/support/descriptors.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <memory>
#include <set>
#include <string>
#include <sys/stat.h>

using testing::ElementsAre;

namespace {

/// An address in the library, as whichever function it is taken for.
struct Symbol
{
    template <typename Function>
    operator Function*() const
    {
        return reinterpret_cast<Function*>(address);
    }

    void* address;
};

/// skylark_io.so as a program loads it, with the entry points that the tests use, and the two ends
/// of a connection.
class Library
{
public:
    Symbol find(char const* name) const
    {
        void* const address = m_handle != nullptr ? dlsym(m_handle.get(), name) : nullptr;
        return address != nullptr ? Symbol{address} : throw std::runtime_error(dlerror());
    }

    /// Moves one message to the server and back, through the C functions.
    void exchange(char const* address, char const* service, unsigned int port)
    {
        unsigned int word = 0x12345678;
        unsigned int count = 0;
        unsigned int id = 0;
        unsigned int from = 0;
        unsigned int tag = 0;
        ASSERT_EQ(create(service, 0, &server), DTC_IO_SUCCESS) << error();
        ASSERT_EQ(open(address, service, &client), DTC_IO_SUCCESS) << error();
        ASSERT_EQ(send(client, 0, 7, &word, 4, &count), DTC_IO_SUCCESS);
        ASSERT_EQ(receiveReady(server, 20'000), DTC_IO_SUCCESS);
        ASSERT_EQ(receive(server, &from, &tag, &word, 4, &count, 20'000), DTC_IO_SUCCESS);
        ASSERT_EQ(localId(client, &id), DTC_IO_SUCCESS);
        EXPECT_EQ(from, id);
        word = ~word;
        ASSERT_EQ(send(server, from, tag + 1, &word, 4, &count), DTC_IO_SUCCESS);
        ASSERT_EQ(receive(client, &from, &tag, &word, 4, &count, 20'000), DTC_IO_SUCCESS);
        EXPECT_EQ(word, ~0x12345678U);
        EXPECT_EQ(tag, 8U);
        EXPECT_EQ(from, port);
    }

private:
    std::unique_ptr<void, int (*)(void*)> m_handle{dlopen(SKYLARK_LIBRARY, RTLD_NOW | RTLD_LOCAL),
                                                   dlclose};

public:
    decltype(&DTC_Get_Version) version = find("DTC_Get_Version");
    decltype(&DTC_Get_Status) status = find("DTC_Get_Status");
    decltype(&DTC_Get_Error) error = find("DTC_Get_Error");
    decltype(&DTC_IO_Create) create = find("DTC_IO_Create");
    decltype(&DTC_IO_Open) open = find("DTC_IO_Open");
    decltype(&DTC_IO_Close) close = find("DTC_IO_Close");
    decltype(&DTC_IO_Send_V2) send = find("DTC_IO_Send_V2");
    decltype(&DTC_IO_Receive) receive = find("DTC_IO_Receive");
    decltype(&DTC_IO_Receive_Ready) receiveReady = find("DTC_IO_Receive_Ready");
    decltype(&DTC_IO_Local_Id) localId = find("DTC_IO_Local_Id");
    decltype(&DTC_IO_Get_State) getState = find("DTC_IO_Get_State");
    void* server = nullptr;
    void* client = nullptr;
};

bool isLoaded()
{
    std::ifstream maps("/proc/self/maps");
    std::string const text(std::istreambuf_iterator<char>(maps), {});
    return text.find("skylark_io.so") != std::string::npos;
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
            EXPECT_THAT(line.data(),
                        testing::ContainsRegex("^((vtable for |typeinfo for |typeinfo name for "
                                               ")?KORVA::|_anyAddressInThisModuleWillDo )"));
    }
    EXPECT_THAT(functions,
                ElementsAre("DTC_Get_Error", "DTC_Get_Status", "DTC_Get_Version", "DTC_IO_Close",
                            "DTC_IO_Create", "DTC_IO_Get_State", "DTC_IO_Local_Id", "DTC_IO_Open",
                            "DTC_IO_Receive", "DTC_IO_Receive_Ready", "DTC_IO_Send_V2"));
}

TEST(LibraryTest, HandsOutConnectionsOrTheReasonForNone)
{
    Library library;
    EXPECT_STREQ(library.version(), "Korvane Skylark Ethernet");
    EXPECT_STREQ(library.error(), "");
    void* client = &client;
    EXPECT_EQ(library.open("0x7F000001", "dtc_io", &client), DTC_IO_NO_CONNECTION);
    EXPECT_EQ(client, nullptr);
    EXPECT_STREQ(library.error(), "Error on socket connect: Connection refused (ECONNREFUSED)"
                                  ": Check the IP address");
    library.exchange("x:2130706433", "dtc_io", 55755);
    EXPECT_EQ(library.status(), 0);

    EXPECT_EQ(library.receiveReady(library.client, 0), DTC_IO_TIMEOUT);
    EXPECT_STREQ(library.error(), "Select() timed out");
    EXPECT_EQ(library.localId(library.client, nullptr), DTC_IO_INVALID);
    auto* state = reinterpret_cast<DTC_IO_LOADERIF*>(&client);
    EXPECT_EQ(library.getState(library.client, &state), DTC_IO_SUCCESS);
    EXPECT_EQ(state, nullptr);
    EXPECT_EQ(library.getState(library.server, nullptr), DTC_IO_SUCCESS);

    library.close(library.client);
    library.close(library.client); // the adapter holds it no more
    library.close(nullptr);
    EXPECT_EQ(library.receiveReady(library.server, 20'000), DTC_IO_SUCCESS) << "the farewell";
    unsigned int word = 0;
    EXPECT_EQ(library.receive(library.server, &word, &word, &word, 4, &word, 20'000),
              DTC_IO_DISCONNECTED);
    EXPECT_STREQ(library.error(), "Client has disconnected");
}

TEST(LibraryTest, UnloadsAThousandTimesWhateverIsStillOpen)
{
    std::size_t const before = testing_support::openDescriptors();
    for (int i = 0; i < 1000; ++i) {
        {
            Library library;
            ASSERT_TRUE(isLoaded());
            if (i % 100 == 0)
                library.exchange("0x7F000001", "dtc_io", 55755);
        }
        ASSERT_FALSE(isLoaded()) << i;
        ASSERT_EQ(testing_support::openDescriptors(), before) << i;
    }
}

auto failsWith(char const* text)
{
    return testing::ThrowsMessage<std::exception>(testing::HasSubstr(text));
}

// Without its devices the library loads at once; who needs them, the set-up of the network among
// them, is told so at the first use, and is served once they are there.
TEST(LibraryTest, LoadsWithoutItsDevicesAndServesOnceTheyAreThere)
{
    Library(); // makes the box
    std::string const devices = std::string(std::getenv("DTC_BOX_ROOT")) + "/dev";
    std::string const aside = devices + ".aside";
    std::filesystem::rename(devices, aside);
    {
        Library library;
        void* (*const drivers[])() = {library.find("_ZN5KORVA3DTC6PERIPH7getFPGAEv"),
                                      library.find("_ZN5KORVA3DTC6PERIPH6getPMXEv")};
        for (auto const get : drivers)
            EXPECT_THAT(get, failsWith("/dev/mem could not be opened")) << "what the load met";
        EXPECT_EQ(library.create("dtc_conf", 0, &library.server), DTC_IO_NO_CONNECTION);
        EXPECT_EQ(library.status(), 3);
        std::filesystem::create_directory(devices);
        mkfifo((devices + "/mem").c_str(), 0600);
        for (auto const get : drivers)
            EXPECT_THAT(get, failsWith("call to mmap() failed")) << "tried again";
        std::filesystem::remove_all(devices);
        std::filesystem::rename(aside, devices);
        EXPECT_TRUE(drivers[0]() != nullptr && drivers[1]() != nullptr);
        library.exchange("0x7F000001", "dtc_conf", 55756);
    }
    EXPECT_FALSE(isLoaded());
}

} // namespace
