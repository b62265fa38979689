#include "util/udll.h"

#include <dlfcn.h>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <string>

using KORVA::uDll;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

TEST(DllTest, TurnsNamesIntoFileNamesAndBack)
{
    struct
    {
        char const* name;
        bool hasExtension;
        char const* platformName;
        char const* universalName;
    } const cases[] = {{"foo", false, "libfoo.so", "foo"},
                       {"libfoo.so", true, "libfoo.so", "foo"},
                       {"libfoo.so.1", true, "libfoo.so.1", "foo.s"},
                       {"x.sox", true, "x.sox", "ox"},
                       {".so", false, "lib.so.so", ".so"},
                       {"abc.so", true, "abc.so", ""},
                       {"a.so", true, "a.so", "o"},
                       {"", false, "lib.so", ""},
                       {nullptr, false, "", ""}};
    for (auto const& c : cases) {
        std::string out = ">";
        EXPECT_EQ(uDll::hasExtension(c.name), c.hasExtension) << c.platformName;
        uDll::GetPlatformName(out, c.name);
        uDll::GetUniversalName(out += ">", c.name);
        EXPECT_EQ(out, std::string(">") + c.platformName + ">" + c.universalName);
    }
}

TEST(DllTest, KeepsPathAndModeAndTheTextOfTheLastFailure)
{
    uDll dll(nullptr, -1);
    EXPECT_FALSE(dll.Load(nullptr, -1)) << "no path yet";
    EXPECT_STREQ(dll.GetError(), "");
    EXPECT_FALSE(dll.FindAndLoad("no such library", -1));
    EXPECT_STREQ(dll.GetPath(), "libno such library.so");
    EXPECT_THAT(dll.GetError(), StartsWith("libno such library.so: cannot open shared object"));
    std::string const file = std::getenv("DTC_BOX_ROOT") + std::string(".so");
    std::ofstream(file) << "not a library";
    EXPECT_FALSE(dll.Load(file.c_str(), RTLD_NOW));
    EXPECT_THAT(dll.GetError(), HasSubstr("file too short"));
    std::filesystem::remove(file);
    EXPECT_EQ(dll.GetSymbolAddress("cos"), nullptr);
    EXPECT_FALSE(dll.Unload());
    EXPECT_THAT(dll.GetError(), HasSubstr("file too short")) << "nothing was tried";
    std::string module;
    dll.GetModulePath(module);
    EXPECT_EQ(module, "");

    ASSERT_TRUE(dll.FindAndLoad("libm.so.6", -1)) << dll.GetError();
    EXPECT_STREQ(dll.GetError(), "");
    EXPECT_EQ(dll.GetMode(), RTLD_NOW);
    void* const handle = dll.GetLibHandle();
    EXPECT_TRUE(dll.Load("another.so", RTLD_LAZY));
    EXPECT_TRUE(dll.FindAndLoad("another", -1));
    EXPECT_STREQ(dll.GetPath(), "libm.so.6");
    EXPECT_EQ(dll.GetMode(), RTLD_NOW);
    EXPECT_EQ(dll.GetLibHandle(), handle);
    EXPECT_EQ(dll.GetSymbolAddress("no such symbol"), nullptr);
    EXPECT_THAT(dll.GetError(), HasSubstr("undefined symbol: no such symbol"));
    EXPECT_NE(dll.InternalGetAddress("cos", false), nullptr);
    EXPECT_STRNE(dll.GetError(), "");
    EXPECT_NE(dll.GetSymbolAddress("cos"), nullptr);
    EXPECT_STREQ(dll.GetError(), "");
    dll.GetModulePath(module);
    EXPECT_EQ(std::filesystem::path(module).filename(), "util_tests");

    EXPECT_TRUE(dll.Unload());
    EXPECT_FALSE(dll.IsLoaded());
    EXPECT_FALSE(dll.Unload());
    EXPECT_FALSE(dll.FindAndLoad(nullptr, RTLD_LAZY));
    EXPECT_TRUE(dll.Load(nullptr, -1)) << "the same again: " << dll.GetPath();
    EXPECT_EQ(dll.GetMode(), RTLD_NOW);
    EXPECT_FALSE(dll.InternalLoad("no such file.so", -1));
    EXPECT_FALSE(dll.IsLoaded());
    EXPECT_EQ(dll.GetMode(), RTLD_LAZY);
    EXPECT_STREQ(dll.GetPath(), "libm.so.6");
}

} // namespace
