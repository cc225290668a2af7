// The file store behind the registry functions.

#include "platform/com.h"
#include "platform/file.h"
#include "platform/registry.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <unistd.h>

namespace fs = std::filesystem;
using namespace platform;

namespace {

struct RegistryTest : testing::Test {
    void SetUp() override
    {
        char name[] = "/tmp/ztree-registry-XXXXXX";
        folder = mkdtemp(name);
        setenv("ZTREE_REGISTRY", (folder + "/store").c_str(), 1);
        Hooks::on();
    }
    void TearDown() override
    {
        const long live = Hooks::liveBlocks();
        Hooks::off();
        EXPECT_EQ(live, 0);
        unsetenv("ZTREE_REGISTRY");
        fs::remove_all(folder);
    }
    static long set(HKEY key, const char* name, const std::string& text, unsigned long type = REG_SZ)
    {
        return regSetValue(key, name, type, text.data(), text.size());
    }
    static std::string get(HKEY key, const char* name, unsigned long room = 100)
    {
        char data[100];
        unsigned long type = 0;
        const long result = regQueryValue(key, name, &type, data, &room);
        return result ? "error " + std::to_string(result)
                      : std::to_string(type) + ":" + std::string(data, room);
    }
    std::string folder;
};

} // namespace

TEST_F(RegistryTest, keysAndValues)
{
    HKEY key = nullptr;
    EXPECT_EQ(regOpenKey(HKEY_CURRENT_USER, "Software\\Thing", &key), 2);
    ASSERT_EQ(regCreateKey(HKEY_CURRENT_USER, "Software\\Thing\\", &key), 0);
    EXPECT_EQ(set(key, "Name", "one"), 0);
    EXPECT_EQ(set(key, nullptr, "default"), 0);
    EXPECT_EQ(set(key, "BIN", std::string("\0\xff\n", 3), REG_BINARY), 0);
    EXPECT_EQ(set(HKEY_CURRENT_USER, "at the root", ""), 0);
    EXPECT_EQ(regCloseKey(key), 0);

    ASSERT_EQ(regOpenKey(HKEY_CURRENT_USER, "SOFTWARE\\thing", &key), 0); // whatever the case
    EXPECT_EQ(get(key, "NAME"), "1:one");
    EXPECT_EQ(set(key, "name", "two"), 0);
    EXPECT_EQ(get(key, "Name"), "1:two");
    EXPECT_EQ(get(key, ""), "1:default");
    EXPECT_EQ(get(key, "bin"), "3:" + std::string("\0\xff\n", 3));
    EXPECT_EQ(get(key, "none"), "error 2");
    EXPECT_EQ(get(key, "Name", 2), "error 234");
    unsigned long size = 0;
    EXPECT_EQ(regQueryValue(key, "Name", nullptr, nullptr, &size), 0);
    EXPECT_EQ(size, 3u);
    EXPECT_EQ(get(HKEY_CURRENT_USER, "at the root"), "1:");
    HKEY below = nullptr;
    EXPECT_EQ(regOpenKey(key, "Name", &below), 2); // a value is no key
    EXPECT_EQ(regCreateKey(key, "Name", &below), 0);
    EXPECT_EQ(get(key, "Name"), "1:two");
    regCloseKey(below);
    regCloseKey(key);
    // Classes are a part of the machine's key.
    regCreateKey(HKEY_CLASSES_ROOT, "A.B", &key);
    regCloseKey(key);
    EXPECT_EQ(regOpenKey(HKEY_LOCAL_MACHINE, "Software\\Classes\\a.b", &key), 0);
    regCloseKey(key);
}

TEST_F(RegistryTest, namesStayInsideTheStore)
{
    const char* const names[] = {"..", ".", "a/b", "../../x", "=", "%2E", "a%", "tab\t", "\\", "\xe4\xf6"};
    HKEY key = nullptr;
    ASSERT_EQ(regCreateKey(HKEY_USERS, "k", &key), 0);
    for (const char* name : names)
        EXPECT_EQ(set(key, name, name), 0) << name;
    for (const char* name : names)
        EXPECT_EQ(get(key, name), std::string("1:") + name);
    EXPECT_EQ(get(key, "\xc4\xd6"), "1:\xe4\xf6"); // case of letters beyond ASCII
    regCloseKey(key);
    for (const char* name : {"..", "a/../../..", ".", "=x"}) {
        ASSERT_EQ(regCreateKey(HKEY_USERS, name, &key), 0) << name;
        regCloseKey(key);
    }
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);
    EXPECT_EQ(std::distance(fs::directory_iterator(folder + "/store/HKEY_USERS"), fs::directory_iterator()),
              5);
    const std::string endless(300, 'n');
    EXPECT_EQ(regCreateKey(HKEY_USERS, endless.c_str(), &key), 206);
    EXPECT_EQ(set(HKEY_USERS, endless.c_str(), ""), 206);
    EXPECT_EQ(regCreateKey(HKEY_USERS, "\\k", &key), 161);
}

TEST_F(RegistryTest, failures)
{
    HKEY key = nullptr;
    EXPECT_EQ(regOpenKey(nullptr, "k", &key), 6);
    EXPECT_EQ(set(reinterpret_cast<HKEY>(std::uintptr_t{0x80000009}), "n", ""), 6);
    EXPECT_EQ(regCloseKey(nullptr), 6);
    ASSERT_EQ(regCreateKey(HKEY_USERS, "k", &key), 0);
    Hooks::failAt(Site::heap, 1);
    EXPECT_EQ(set(key, "n", "new"), 8);
    HKEY none = nullptr;
    Hooks::failAt(Site::heap, 1);
    EXPECT_EQ(regOpenKey(HKEY_USERS, "k", &none), 8);
    EXPECT_EQ(none, nullptr);
    Hooks::failAt(Site::heap, 0);
    regCloseKey(key);
}

TEST(ClassIdentifier, text)
{
    const GUID id = {0x12345678, 0x9ABC, 0xDEF0, {1, 2, 3, 4, 5, 6, 7, 0xF8}};
    zwchar text[clsidUnits + 1];
    EXPECT_EQ(stringFromClsid(id, text), 0);
    EXPECT_EQ(std::u16string(text), u"{12345678-9ABC-DEF0-0102-0304050607F8}");
    GUID back{};
    EXPECT_EQ(clsidFromString(u"{12345678-9abc-DEF0-0102-0304050607f8}", &back), 0);
    EXPECT_EQ(back, id);
    for (const zwchar* wrong :
         {u"", u"12345678-9ABC-DEF0-0102-0304050607F8", u"{12345678", u"{", u"{1234567G-",
          u"{12345678-9ABC-DEF0-0102-0304050607F8} ", u"{12345678+9ABC-DEF0-0102-0304050607F8}"})
        EXPECT_EQ(static_cast<unsigned>(clsidFromString(wrong, &back)), 0x800401F3u);
    EXPECT_EQ(back, id);
    EXPECT_EQ(clsidFromString(nullptr, &back), 0);
    EXPECT_EQ(back, GUID{});
}
