#include "platform/clock.h"

#include <ztree/helpers.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

std::string dumpLine(unsigned long address, const std::string& bytes)
{
    unsigned char line[66];
    const int n = formatDump(address, reinterpret_cast<const unsigned char*>(bytes.data()),
                             static_cast<unsigned>(bytes.size()), line, sizeof line);
    EXPECT_EQ(n, static_cast<int>(bytes.size() < 16 ? bytes.size() : 16));
    return reinterpret_cast<const char*>(line);
}

} // namespace

TEST(FormatDump, lines)
{
    EXPECT_EQ(dumpLine(0x1000, std::string("AB\0CD", 5)),
              "00001000: 41420043 44" + std::string(26, ' ') + "AB.CD\r\n");
    EXPECT_EQ(dumpLine(0, ""), "00000000: " + std::string(37, ' ') + "\r\n");
    // Every byte at every place of a line, long and short, against the plain rule.
    for (unsigned c = 0; c < 256; ++c) {
        for (const unsigned n : {1u, 4u, 15u, 16u}) {
            std::string bytes, hex, text;
            for (unsigned i = 0; i < n; ++i) {
                const unsigned b = (c + i * 37) & 255;
                char two[3];
                std::snprintf(two, sizeof two, "%02X", b);
                bytes += static_cast<char>(b);
                hex += two + std::string(i % 4 == 3 ? " " : "");
                text += b >= ' ' && b <= '~' ? static_cast<char>(b) : '.';
            }
            hex.resize(37, ' ');
            ASSERT_EQ(dumpLine(0xFEDCBA98, bytes), "FEDCBA98: " + hex + text + "\r\n");
        }
    }
}

TEST(FormatDump, room)
{
    const unsigned char data[16] = {};
    unsigned char line[67];
    std::memset(line, 'x', sizeof line);
    EXPECT_EQ(formatDump(0, data, 16, line, 65), -1);
    EXPECT_EQ(line[0], 'x');
    EXPECT_EQ(formatDump(0, data, 16, line, 66), 16);
    EXPECT_EQ(line[65], 0);
    EXPECT_EQ(line[66], 'x');
    EXPECT_EQ(dumpSize(0), 1); // 64 a line, odd, although a line has 65
    EXPECT_EQ(dumpSize(1), 65);
    EXPECT_EQ(dumpSize(16), 65);
    EXPECT_EQ(dumpSize(17), 129);
    EXPECT_EQ(dumpSize(0xFFFFFFFFul), 0x7FFFFFFF);
}

TEST(FormatDump, unreadableBytes)
{
    const auto* nowhere = reinterpret_cast<const unsigned char*>(std::uintptr_t{16});
    const std::string message = "*** formatDump: memory read error at address 0x10 for 33 byte\r\n";
    const int length = static_cast<int>(message.size());
    for (const int room : {length + 1, length, length - 1, 5, 0}) {
        SCOPED_TRACE(room);
        unsigned char line[100];
        std::memset(line, 'x', sizeof line);
        EXPECT_EQ(formatDump(0, nowhere, 33, line, static_cast<unsigned>(room)),
                  room >= length ? length : -1);
        const std::string written(reinterpret_cast<char*>(line), static_cast<std::size_t>(room));
        EXPECT_EQ(written, (message + '\0').substr(0, written.size()));
        EXPECT_EQ(line[room], 'x');
    }
}

TEST(FormatDump, longData)
{
    std::vector<unsigned char> data(1000003, 'z');
    unsigned char line[66];
    unsigned done = 0, lines = 0;
    for (const unsigned all = static_cast<unsigned>(data.size()); done < all; ++lines)
        done += static_cast<unsigned>(formatDump(done, data.data() + done, all - done, line, sizeof line));
    EXPECT_EQ(lines, 62501u);
    EXPECT_STREQ(reinterpret_cast<char*>(line),
                 ("000F4240: 7A7A7A" + std::string(31, ' ') + "zzz\r\n").c_str());
    // A range that ends outside of memory gives no line at all, also right after one that was fine.
    unsigned char message[128];
    EXPECT_EQ(formatDump(0, data.data(), 1000003, message, sizeof message), 16);
    EXPECT_GT(formatDump(16, data.data() + 16, 0x7FFFFFF0, message, sizeof message), 60);
    EXPECT_EQ(message[0], '*');
}

namespace {

struct BackupFile : testing::Test {
    void SetUp() override
    {
        fs::remove_all(folder);
        fs::create_directory(folder);
    }
    void TearDown() override
    {
        platform::FakeClock::clear();
        fs::remove_all(folder);
    }
    std::string at(const std::string& name) const { return folder + "/" + name; }
    void put(const std::string& name, const std::string& text, int minutesAgo = 0) const
    {
        std::ofstream(at(name), std::ios::binary) << text;
        fs::last_write_time(at(name), fs::last_write_time(at(name)) - std::chrono::minutes(minutesAgo));
    }
    std::string get(const std::string& name) const
    {
        std::ifstream in(at(name), std::ios::binary);
        return {std::istreambuf_iterator<char>(in), {}};
    }
    std::set<std::string> names() const
    {
        std::set<std::string> found;
        for (const auto& entry : fs::directory_iterator(folder))
            found.insert(entry.path().filename().string());
        return found;
    }
    const std::string folder = "backup.d";
};

using Names = std::set<std::string>;

} // namespace

TEST_F(BackupFile, takesTheFirstFreeNumber)
{
    put("log.txt", "new");
    EXPECT_EQ(backupFile(at("log.txt").c_str(), 3), 2);
    EXPECT_EQ(names(), Names{"log000.txt"});
    put("log.txt", "newer");
    EXPECT_EQ(backupFile(at("log.txt").c_str(), 3), 2);
    EXPECT_EQ(get("log000.txt"), "new");
    EXPECT_EQ(get("log001.txt"), "newer");
    put("page%d.html", "p"); // three characters of the extension, and no format of its own
    EXPECT_EQ(backupFile(at("page%d.html").c_str(), 1), 2);
    EXPECT_EQ(names(), (Names{"log000.txt", "log001.txt", "page%d000.htm"}));
}

TEST_F(BackupFile, replacesTheOldest)
{
    put("log.txt", "new");
    put("log000.txt", "a", 20);
    put("log001.txt", "b", 30);
    put("log002.txt", "c", 10);
    EXPECT_EQ(backupFile(at("log.txt").c_str(), 3), -1);
    EXPECT_EQ(names(), (Names{"log000.txt", "log001.txt", "log002.txt"}));
    EXPECT_EQ(get("log000.txt") + get("log001.txt") + get("log002.txt"), "anewc");
    put("log.txt", "next"); // also what was written just now is older than the call
    EXPECT_EQ(backupFile(at("log.txt").c_str(), 1), -1);
    EXPECT_EQ(get("log000.txt"), "next");
}

TEST_F(BackupFile, leavesTheFileAlone)
{
    put("log.txt", "new");
    put("logfile", "plain");
    EXPECT_EQ(backupFile(at("log.txt").c_str(), 0), -1);
    EXPECT_EQ(backupFile(at("logfile").c_str(), 3), -1); // the folder's dot is no extension
    EXPECT_EQ(backupFile(".logfile", 3), -1);
    EXPECT_EQ(backupFile("", 3), -1);
    EXPECT_EQ(backupFile(nullptr, 3), -1);
    EXPECT_EQ(backupFile("no such folder/log.txt", 3), 3);
    EXPECT_EQ(backupFile(at("none.txt").c_str(), 3), 2); // the move's own result
    EXPECT_EQ(names(), (Names{"log.txt", "logfile"}));
    put("log000.txt", "a");
    SYSTEMTIME past{};
    past.wYear = 2001;
    past.wMonth = past.wDay = 1;
    platform::FakeClock::set(past, past);
    EXPECT_EQ(backupFile(at("log.txt").c_str(), 1), -1); // written later than now
    EXPECT_EQ(get("log.txt") + get("log000.txt"), "newa");
    // A backup that cannot be deleted ends the matter.
    platform::FakeClock::clear();
    fs::create_directory(at("dir000.txt"));
    put("dir.txt", "d");
    EXPECT_EQ(backupFile(at("dir.txt").c_str(), 1), 5);
    EXPECT_EQ(get("dir.txt"), "d");
}

namespace {

constexpr GUID someClass = {0x0002DF01, 0x0000, 0x4321, {0xC0, 0, 0, 0xAB, 0, 0, 0, 0x46}};
const char* const someText = "{0002DF01-0000-4321-C000-00AB00000046}";

bool same(const GUID& a, const GUID& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}
unsigned idOf(const char* name, GUID& id)
{
    return static_cast<unsigned>(getClassIdFromName(name, id));
}
void setText(const std::string& key, const char* text)
{
    EXPECT_EQ(setRegKeyValue(HKEY_CLASSES_ROOT, key.c_str(), nullptr, text, REG_SZ, 0, nullptr), 0) << key;
}

} // namespace

TEST(RegistryHelpers, classIdentifiers)
{
    GUID id{};
    EXPECT_EQ(idOf("Ztree.None", id), 0x80070002u);
    EXPECT_EQ(idOf(nullptr, id), 0x80070057u);
    setText("Ztree.Thing.2\\CLSID", someText);
    setText("Ztree.Thing\\CurVer", "Ztree.Thing.2");
    setText("Ztree.Wrong\\CLSID", "{0002DF01-0000}");
    setText("Ztree.Gone\\CurVer", "Ztree.Gone.1");
    setText("Ztree.Long\\CLSID", std::string(61, 'x').c_str());
    setText("Ztree.Bare", "no identifier");
    for (const char* name : {"Ztree.Thing.2", "Ztree.Thing", "ZTREE.thing"}) {
        id = GUID{};
        EXPECT_EQ(idOf(name, id), 0u) << name;
        EXPECT_TRUE(same(id, someClass)) << name;
    }
    EXPECT_EQ(idOf("Ztree.Wrong", id), 0x800401F3u);
    EXPECT_EQ(idOf("Ztree.Gone", id), 0x80070002u);
    EXPECT_EQ(idOf("Ztree.Bare", id), 0x80070002u);
    EXPECT_EQ(idOf("Ztree.Long", id), 0x800700EAu);
    EXPECT_TRUE(same(id, someClass)); // set on success only

    char name[20] = "x";
    EXPECT_EQ(static_cast<unsigned>(getNameFromClassId(someClass, name, sizeof name)), 0x80070002u);
    EXPECT_STREQ(name, "");
    setText(std::string("CLSID\\") + someText + "\\ProgID", "Ztree.Thing.2");
    EXPECT_EQ(getNameFromClassId(someClass, name, sizeof name), 0);
    EXPECT_STREQ(name, "Ztree.Thing.2");
    EXPECT_EQ(getNameFromClassId(someClass, name, 15), 0); // text, its terminator, and one more
    EXPECT_EQ(static_cast<unsigned>(getNameFromClassId(someClass, name, 14)), 0x800700EAu);
    EXPECT_STREQ(name, "");
}

TEST(RegistryHelpers, keyGoesToTheCaller)
{
    HKEY key = HKEY_USERS;
    EXPECT_EQ(setRegKeyValue(HKEY_CURRENT_USER, "Software\\ztree test\\deep", "a", "1", REG_SZ, 0, &key), 0);
    ASSERT_NE(key, nullptr);
    EXPECT_NE(key, HKEY_USERS);
    HKEY none = key;
    EXPECT_EQ(setRegKeyValue(key, nullptr, "b", nullptr, REG_BINARY, 5, &none),
              0); // null data: an empty text
    EXPECT_EQ(none, nullptr);
    EXPECT_EQ(RegCloseKey(key), 0);
    // Only the key.
    EXPECT_EQ(setRegKeyValue(HKEY_CURRENT_USER, "Software\\ztree test\\empty", nullptr, nullptr, REG_SZ, 0,
                             nullptr),
              0);
    EXPECT_EQ(setRegKeyValue(nullptr, "Software", "a", "1", REG_SZ, 0, &key), 6);
    EXPECT_EQ(key, nullptr);
}
