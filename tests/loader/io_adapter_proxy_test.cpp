#include "loader/io_adapter_proxy.h"

#include "tests/loader/adapter_fixture.h"

#include <cstring>
#include <dlfcn.h>
#include <functional>
#include <gmock/gmock.h>

using namespace KORVA::DTC;

namespace {

class ProxyTest : public testing_support::AdapterTest
{
protected:
    IOAdapterProxy proxy;
    unsigned int word = 5;
};

TEST_F(ProxyTest, SaysWhatALibraryLacks)
{
    EXPECT_EQ(proxy.open("", ""), nullptr) << "nothing is loaded";
    EXPECT_FALSE(proxy.Load("/no/such_io.so"));
    EXPECT_STREQ(proxy.get_error(), "Load of /no/such_io.so failed");
    ASSERT_TRUE(proxy.Load("libm.so.6"));
    EXPECT_TRUE(proxy.Load("libm.so.6"));
    EXPECT_FALSE(proxy.Load(ADAPTERS "one_io.so"));
    EXPECT_STREQ(proxy.get_error(), "Attempt to load different adapter library");
    EXPECT_STREQ(proxy.get_version(), "Unknown");
    EXPECT_STREQ(proxy.get_error(), "Function DTC_Get_Version() not found");

    IOAdapterLibraryInterface table;
    IOAdapterProxy_Connection connection(&table, table);
    EXPECT_STREQ(table.get_error(), "DTC_Get_Error() not found");
    auto* state = reinterpret_cast<DTC_IO_LOADERIF*>(&word);
    auto const ofProxy = [&] { return proxy.get_error(); };
    auto const ofConnection = [&] { return connection.get_error(); };
    struct
    {
        std::function<DTC_IO_STATUS()> call;
        DTC_IO_STATUS status;
        std::string error;
        std::function<std::string()> failed;
    } const cases[] = {
        {[&] { return proxy.get_status(); }, 3, "DTC_Get_Status", ofProxy},
        {[&] { return proxy.create("", 0) != nullptr; }, 0, "DTC_IO_Create", ofProxy},
        {[&] { return proxy.open("", "") != nullptr; }, 0, "DTC_IO_Open", ofProxy},
        {[&] { return connection.get_local_id(&word); }, -1, "DTC_IO_Local_Id", ofConnection},
        {[&] { return connection.receive_ready(0); }, -1, "DTC_IO_Receive_Ready", ofConnection},
        {[&] { return connection.receive(&word, &word, &word, 4, &word, 0); }, -1, "DTC_IO_Receive",
         ofConnection},
        {[&] { return connection.send(0, 0, &word, 4, &word); }, -1, "DTC_IO_Send", ofConnection},
        {[&] { return connection.get_state(&state); }, 0, "DTC_IO_Get_State", ofConnection}};
    for (auto const& c : cases) {
        EXPECT_EQ(c.call(), c.status) << c.error;
        EXPECT_EQ(c.failed(), "Function " + c.error + "() not found");
    }
    table.close = [](void* /*handle*/) {};
    connection.close();
    EXPECT_EQ(connection.receive_ready(0), -1) << "closed as well";
    EXPECT_EQ(word, 5U);
    EXPECT_EQ(state, reinterpret_cast<DTC_IO_LOADERIF*>(&word));
}

TEST_F(ProxyTest, HandsEveryCallOnAsItIs)
{
    ASSERT_TRUE(proxy.Load(ADAPTERS "one_io.so"));
    EXPECT_STREQ(proxy.get_version(), "one");
    EXPECT_EQ(proxy.get_status(), 1);
    auto* const server = proxy.create("s", 17);
    unsigned int values[5] = {};
    std::memcpy(values, "hi!", 3);
    EXPECT_EQ(server->send(3, 4, values, 3, &values[1]), 0);
    EXPECT_EQ(values[1], 2U) << "the library's own count";
    EXPECT_EQ(server->receive(&values[0], &values[1], &values[2], 5, &values[3], 6), 0);
    EXPECT_THAT(values, testing::ElementsAre(1, 2, 3, 4, 0));
    EXPECT_EQ(server->get_local_id(&word), 0);
    EXPECT_EQ(word, 1U);
    DTC_IO_LOADERIF* state = nullptr;
    EXPECT_EQ(server->get_state(&state), 7);
    EXPECT_NE(state, nullptr);
    EXPECT_STREQ(server->get_error(), "") << "a state is no failure";
    EXPECT_EQ(server->receive_ready(0xFFFFFFFF), -8);
    EXPECT_EQ(takeLog(), "one create 17\none open  s\none send_v2\none send 1 3 4 hi! 3\n"
                         "one receive 1 5 6\none ready 1 4294967295\n");
}

TEST_F(ProxyTest, SendsThroughAnOldLibrary)
{
    ASSERT_TRUE(proxy.Load(ADAPTERS "old_io.so"));
    EXPECT_EQ(proxy.open("a", "refused"), nullptr);
    EXPECT_STREQ(proxy.get_error(), "DTC_Get_Error() not found");
    auto* const client = proxy.open("a", "s");
    unsigned int text = 0;
    std::memcpy(&text, "ello", 4);
    EXPECT_EQ(client->send(1, 2, &text, 4, &word), 0);
    EXPECT_EQ(word, 4U);
    EXPECT_EQ(client->send(99, 2, &text, 4, &word), -9);
    EXPECT_EQ(word, 0U);
    EXPECT_STREQ(client->get_error(), "DTC_Get_Error() not found");
    EXPECT_EQ(client->send(1, 2, &text, 4, nullptr), 0);
    EXPECT_EQ(takeLog(), "old open a refused\nold open a s\nold send 1 1 2 ello 4\n"
                         "old send 1 99 2 ello 4\nold send 1 1 2 ello 4\n");
}

TEST_F(ProxyTest, KeepsErrorTextsWhateverTheLibraryDoesLater)
{
    ASSERT_TRUE(proxy.Load(ADAPTERS "one_io.so"));
    auto* const first = proxy.open("", "s");
    EXPECT_EQ(proxy.open("", "refused"), nullptr);
    EXPECT_EQ(first->receive_ready(0), -8);
    EXPECT_EQ(proxy.open("", "s")->send(99, 0, &word, 4, &word), -9);
    EXPECT_STREQ(proxy.get_error(), "failure 1");
    EXPECT_STREQ(first->get_error(), "failure 2");
    setenv("ADAPTER_SILENT", "", 1);
    EXPECT_EQ(proxy.create("refused", 0), nullptr);
    EXPECT_EQ(first->receive_ready(0), -8);
    EXPECT_STREQ(proxy.get_error(), "Unknown Error");
    EXPECT_STREQ(first->get_error(), "Unknown Error");
}

TEST_F(ProxyTest, ClosesEachHandleOnceAndThenUnloads)
{
    auto owner = std::make_unique<IOAdapterProxy>();
    ASSERT_TRUE(owner->Load(ADAPTERS "one_io.so"));
    IOAdapter_Connection* opened[5];
    for (auto*& connection : opened)
        connection = owner->open("", "s");
    takeLog();
    proxy.close(opened[0]); // not its own
    owner->close(nullptr);
    EXPECT_EQ(takeLog(), "");
    owner->close(opened[1]);
    owner->close(opened[1]);
    auto* const closed = static_cast<IOAdapterProxy_Connection*>(opened[2]);
    closed->close();
    closed->close();
    EXPECT_EQ(takeLog(), "one close 2\none close 3\n");
    EXPECT_EQ(closed->send(0, 0, &word, 4, &word), DTC_IO_INVALID);
    EXPECT_EQ(closed->get_state(nullptr), DTC_IO_INVALID);
    EXPECT_STREQ(closed->get_error(), "The connection is closed");
    owner.reset();
    EXPECT_EQ(takeLog(), "one close 1\none close 4\none close 5\none unloaded\n");
    EXPECT_FALSE(isLoaded("one"));
}

IOAdapterProxy* owner = nullptr;
IOAdapter_Connection* others[2];

TEST_F(ProxyTest, MayBeCalledBackWhileItCloses)
{
    ASSERT_TRUE(proxy.Load(ADAPTERS "one_io.so"));
    KORVA::uDll library(ADAPTERS "one_io.so", -1);
    ASSERT_TRUE(library.Load(nullptr, -1));
    auto* const hook = static_cast<void (**)()>(library.GetSymbolAddress("whenClosed"));
    owner = &proxy;
    auto* const first = others[0] = proxy.open("", "s");
    others[1] = proxy.open("", "null");
    proxy.open("", "s");
    EXPECT_NE(others[1], nullptr) << "the status alone tells";
    takeLog();
    *hook = [] {
        for (auto*& other : others)
            owner->close(std::exchange(other, nullptr));
    };
    proxy.close(first);
    *hook = nullptr;
    EXPECT_EQ(takeLog(), "one close 1\none close 0\n");
}

TEST_F(ProxyTest, ALibraryIsNotBegunAnewAndGoesWithItsLastUser)
{
    {
        KORVA::uDll library(ADAPTERS "one_io.so", -1);
        EXPECT_EQ(library.GetMode(), RTLD_LAZY);
        ASSERT_TRUE(library.Load(nullptr, -1));
        EXPECT_EQ(dlsym(RTLD_DEFAULT, "DTC_IO_Send"), nullptr) << "its names are for it alone";
        EXPECT_TRUE(library.InternalLoad(ADAPTERS "one_io.so", -1));
        EXPECT_EQ(takeLog(), "");
    }
    EXPECT_EQ(takeLog(), "one unloaded\n");
}

// This program holds and lets out a copy of everything that skylark_io.so lets out.
TEST_F(ProxyTest, TheLoadedLibraryUsesItsOwnDataNotTheProgrammes)
{
    KORVA::uDll library("skylark_io.so", RTLD_NOW);
    ASSERT_TRUE(library.Load(nullptr, -1)) << library.GetError();
    ASSERT_NE(dlsym(RTLD_DEFAULT, "_anyAddressInThisModuleWillDo"), nullptr);
    auto const getModulePath = reinterpret_cast<void (*)(KORVA::uDll const*, std::string&)>(
        library.GetSymbolAddress("_ZNK5KORVA4uDll13GetModulePathERNSt7__cxx1112basic_stringIcSt11"
                                 "char_traitsIcESaIcEEE"));
    ASSERT_NE(getModulePath, nullptr) << library.GetError();
    std::string path;
    getModulePath(&library, path);
    EXPECT_THAT(path, testing::EndsWith("/skylark_io.so"));
}

} // namespace
