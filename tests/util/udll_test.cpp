#include "util/udll.h"

#include <dlfcn.h>
#include <filesystem>
#include <gmock/gmock.h>

using KORVA::uDll;
using testing::HasSubstr;

namespace {

TEST(DllTest, TurnsNamesIntoFileNamesAndBack)
{
    std::tuple<char const*, bool, char const*, char const*> const cases[] = {
        {"foo", false, "libfoo.so", "foo"}, {"libfoo.so.1", true, "libfoo.so.1", "foo.s"},
        {"x.sox", true, "x.sox", "ox"},     {".so", false, "lib.so.so", ".so"},
        {"abc.so", true, "abc.so", ""},     {"a.so", true, "a.so", "o"},
        {"", false, "lib.so", ""},          {nullptr, false, "", ""}};
    for (auto const& [name, hasExtension, platformName, universalName] : cases) {
        std::string out = ">";
        EXPECT_EQ(uDll::hasExtension(name), hasExtension) << platformName;
        uDll::GetPlatformName(out, name);
        uDll::GetUniversalName(out += ">", name);
        EXPECT_EQ(out, std::string(">") + platformName + ">" + universalName);
    }
}

TEST(DllTest, KeepsPathAndModeAndTheTextOfTheLastFailure)
{
    uDll dll(nullptr, -1);
    EXPECT_FALSE(dll.Load(nullptr, -1) || dll.FindAndLoad(nullptr, -1)) << "no path yet";
    EXPECT_STREQ(dll.GetError(), "");
    EXPECT_FALSE(dll.FindAndLoad("no such library", -1));
    EXPECT_STREQ(dll.GetPath(), "libno such library.so");
    EXPECT_EQ(dll.GetSymbolAddress("cos"), nullptr);
    EXPECT_FALSE(dll.Unload());
    std::string module;
    dll.GetModulePath(module);
    EXPECT_EQ(module, "");
    EXPECT_THAT(dll.GetError(), HasSubstr("library.so: cannot open")) << "nothing else was tried";

    ASSERT_TRUE(dll.FindAndLoad("libm.so.6", RTLD_NOW)) << dll.GetError();
    EXPECT_STREQ(dll.GetError(), "");
    void* const handle = dll.GetLibHandle();
    EXPECT_TRUE(dll.Load("another.so", RTLD_LAZY) && dll.FindAndLoad("another", -1));
    EXPECT_STREQ(dll.GetPath(), "libm.so.6");
    EXPECT_EQ(dll.GetMode(), RTLD_NOW);
    EXPECT_EQ(dll.GetLibHandle(), handle);
    EXPECT_EQ(dll.GetSymbolAddress("no such symbol"), nullptr);
    EXPECT_NE(dll.InternalGetAddress("cos", false), nullptr);
    EXPECT_THAT(dll.GetError(), HasSubstr("undefined symbol: no such symbol"));
    EXPECT_NE(dll.GetSymbolAddress("cos"), nullptr);
    EXPECT_STREQ(dll.GetError(), "");
    dll.GetModulePath(module);
    EXPECT_EQ(std::filesystem::path(module).filename(), "util_tests");

    EXPECT_TRUE(dll.Unload());
    EXPECT_FALSE(dll.IsLoaded() || dll.Unload());
    EXPECT_TRUE(dll.Load(nullptr, -1)) << "the same again: " << dll.GetPath();
    EXPECT_EQ(dll.GetMode(), RTLD_NOW);
    EXPECT_FALSE(dll.InternalLoad("no such file.so", -1) || dll.IsLoaded());
    EXPECT_EQ(dll.GetMode(), RTLD_LAZY);
    EXPECT_STREQ(dll.GetPath(), "libm.so.6");
}

} // namespace
