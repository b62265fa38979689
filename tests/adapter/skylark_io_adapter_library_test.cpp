#include "tests/support/box_state.h"
#include "tests/support/descriptors.h"
#include "tests/support/library.h"

#include <array>
#include <cstring>
#include <future>
#include <gmock/gmock.h>
#include <memory>
#include <sys/stat.h>

namespace {

using testing_support::Library;

bool isLoaded()
{
    return testing_support::contentOf("/proc/self/maps").find("skylark_io.so") != std::string::npos;
}

/// Serves a client, and leaves both ends and a message where they are.
bool serves(Library const& library, char const* service)
{
    void* server = nullptr;
    void* client = nullptr;
    unsigned int word = 0x12345678;
    return library.create(service, 0, &server) == 0 &&
           library.open("0x7F000001", service, &client) == 0 &&
           library.send(client, 0, 7, &word, 4, &word) == 0 &&
           library.receiveReady(server, 20'000) == 0;
}

TEST(LibraryTest, LetsOutWhatItPromisesAndNothingElse)
{
    std::vector<std::string> functions;
    std::unique_ptr<FILE, int (*)(FILE*)> const nm(
        popen(NM " --dynamic --defined-only --demangle --format=posix " SKYLARK_LIBRARY, "r"),
        pclose);
    std::array<char, 4096> line;
    while (std::fgets(line.data(), line.size(), nm.get()) != nullptr) {
        std::string const symbol(line.data(), strcspn(line.data(), " \n"));
        if (symbol.rfind("DTC_", 0) == 0)
            functions.push_back(symbol);
        else
            EXPECT_THAT(line.data(),
                        testing::ContainsRegex("^((vtable for |typeinfo for |typeinfo name for "
                                               ")?KORVA::|_anyAddressInThisModuleWillDo )"));
    }
    EXPECT_THAT(functions,
                testing::UnorderedElementsAre("DTC_Get_Error", "DTC_Get_Status", "DTC_Get_Version",
                                              "DTC_IO_Close", "DTC_IO_Create", "DTC_IO_Get_State",
                                              "DTC_IO_Local_Id", "DTC_IO_Open", "DTC_IO_Receive",
                                              "DTC_IO_Receive_Ready", "DTC_IO_Send_V2"));
}

TEST(LibraryTest, UnloadsAThousandTimesWhateverIsStillOpen)
{
    std::size_t const before = testing_support::openDescriptors();
    for (int i = 0; i < 1000; ++i) {
        {
            Library const library;
            ASSERT_TRUE(isLoaded());
            ASSERT_TRUE(i % 100 != 0 || serves(library, "dtc_io"));
        }
        ASSERT_FALSE(isLoaded()) << i;
        ASSERT_EQ(testing_support::openDescriptors(), before) << i;
    }
}

// Without its devices the library loads at once; who needs them, the set-up of the network among
// them, is told so at the first use, and is served once they are there.
TEST(LibraryTest, LoadsWithoutItsDevicesAndServesOnceTheyAreThere)
{
    Library(); // makes the box
    std::string const devices = std::string(std::getenv("DTC_BOX_ROOT")) + "/dev";
    std::filesystem::rename(devices, devices + ".aside");
    Library const library;
    void* (*const drivers[])() = {library.find<void*()>("_ZN5KORVA3DTC6PERIPH7getFPGAEv"),
                                  library.find<void*()>("_ZN5KORVA3DTC6PERIPH6getPMXEv")};
    auto const expectFailures = [&drivers](char const* text) {
        for (auto const get : drivers)
            EXPECT_THAT(get, testing::ThrowsMessage<std::exception>(testing::HasSubstr(text)));
    };
    std::filesystem::create_directory(devices);
    mkfifo((devices + "/mem").c_str(), 0600);
    expectFailures("/dev/mem could not be opened"); // when the library was loaded
    expectFailures("call to mmap() failed");
    EXPECT_FALSE(serves(library, "dtc_conf"));
    EXPECT_EQ(library.find<decltype(DTC_Get_Status)>("DTC_Get_Status")(), 3);
    std::filesystem::remove_all(devices);
    std::filesystem::rename(devices + ".aside", devices);
    for (auto const get : drivers) {
        auto other = std::async(std::launch::async, get);
        EXPECT_EQ(get(), other.get()) << "made once";
    }
    EXPECT_TRUE(serves(library, "dtc_conf"));
}

} // namespace
