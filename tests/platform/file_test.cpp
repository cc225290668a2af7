#include "platform/clock.h"
#include "platform/file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>

namespace fs = std::filesystem;
using namespace platform;

namespace {

struct FileTest : testing::Test {
    void SetUp() override
    {
        fs::remove_all(folder);
        fs::create_directory(folder);
        Hooks::on();
    }
    void TearDown() override
    {
        const long live = Hooks::liveBlocks();
        Hooks::off();
        EXPECT_EQ(live, 0);
        fs::remove_all(folder);
    }
    static unsigned put(const char* name, const std::string& text)
    {
        return writeWholeFile(name, text.data(), text.size());
    }
    static std::string get(const char* name)
    {
        char* block = nullptr;
        std::size_t bytes = 0;
        if (const unsigned error = readWholeFile(name, &block, &bytes))
            return "error " + std::to_string(error);
        const HeapPtr<char> owner(block);
        EXPECT_EQ(block[bytes], 0);
        return {block, bytes};
    }
    const char* const folder = "file.d";
};

} // namespace

TEST_F(FileTest, wholeFiles)
{
    const std::string text("a\0b\r\n\x1a"
                           "c",
                           7); // bytes, not text
    EXPECT_EQ(put("file.d/a", text), 0u);
    EXPECT_EQ(get("file.d/a"), text);
    EXPECT_EQ(put("file.d/a", ""), 0u); // made empty
    EXPECT_EQ(get("file.d/a"), "");
    const std::string large(300000, 'x');
    EXPECT_EQ(put("file.d/a", large), 0u);
    EXPECT_EQ(get("file.d/a"), large);
}

TEST_F(FileTest, errors)
{
    EXPECT_EQ(get("file.d/none"), "error 2");
    EXPECT_EQ(get("file.d/none/a"), "error 3");
    EXPECT_EQ(get(""), "error 3");
    EXPECT_EQ(get("file.d"), "error 5");
    EXPECT_EQ(put("file.d", "x"), 5u);
    EXPECT_EQ(put("none.d/a", "x"), 3u);
    EXPECT_EQ(removeFile("file.d/none"), 2u);
    EXPECT_EQ(removeFile("file.d"), 5u);
    unsigned attributes = 0;
    EXPECT_EQ(fileAttributes("file.d/none", &attributes), 2u);
    EXPECT_EQ(fileAttributes("file.d", &attributes), 0u);
    EXPECT_EQ(attributes, fileDirectory);
    File file;
    EXPECT_EQ(file.close(), 6u);
    put("file.d/a", "abc");
    EXPECT_EQ(file.open("file.d/a", OpenFor::read), 0u);
    EXPECT_NE(file.write("x", 1), 0u);
    std::size_t got = 0;
    char buffer[4];
    EXPECT_EQ(file.open("file.d/b", OpenFor::create), 0u);
    EXPECT_NE(file.read(buffer, sizeof buffer, &got), 0u);
}

TEST_F(FileTest, moveNeverOverwrites)
{
    put("file.d/a", "1");
    put("file.d/b", "2");
    EXPECT_EQ(moveFile("file.d/a", "file.d/b"), 183u);
    EXPECT_EQ(get("file.d/a") + get("file.d/b"), "12");
    EXPECT_EQ(moveFile("file.d/a", "file.d/c"), 0u);
    EXPECT_EQ(get("file.d/a") + get("file.d/c"), "error 21");
    EXPECT_EQ(moveFile("file.d/a", "file.d/d"), 2u);
    EXPECT_EQ(moveFile("file.d/b", "none.d/b"), 3u);
    EXPECT_EQ(removeFile("file.d/b"), 0u);
    EXPECT_EQ(get("file.d/b"), "error 2");
}

TEST_F(FileTest, positions)
{
    put("file.d/a", "0123456789");
    File file;
    ASSERT_EQ(file.open("file.d/a", OpenFor::read), 0u);
    std::uint64_t n = 0;
    EXPECT_EQ(file.size(&n), 0u);
    EXPECT_EQ(n, 10u);
    EXPECT_EQ(file.seek(-3, SeekFrom::end, &n), 0u);
    EXPECT_EQ(n, 7u);
    char buffer[8] = "";
    std::size_t got = 0;
    EXPECT_EQ(file.read(buffer, 2, &got), 0u);
    EXPECT_EQ(std::string(buffer, got), "78");
    EXPECT_EQ(file.read(buffer, 8, &got), 0u); // short at the end
    EXPECT_EQ(std::string(buffer, got), "9");
    EXPECT_EQ(file.seek(-4, SeekFrom::here), 0u);
    char* rest = nullptr;
    ASSERT_EQ(readRest(file, &rest, &got), 0u);
    EXPECT_STREQ(rest, "6789");
    heapFree(rest);
    EXPECT_EQ(file.close(), 0u);
    EXPECT_FALSE(file.isOpen());
}

TEST_F(FileTest, appending)
{
    for (const char* part : {"one ", "two"}) {
        File file;
        ASSERT_EQ(file.open("file.d/log", OpenFor::append), 0u);
        EXPECT_EQ(file.write(part, std::strlen(part)), 0u);
        File moved(std::move(file));
        EXPECT_FALSE(file.isOpen()); // NOLINT(bugprone-use-after-move): that is the question
        EXPECT_EQ(moved.close(), 0u);
    }
    EXPECT_EQ(get("file.d/log"), "one two");
}

TEST_F(FileTest, writeTime)
{
    const std::uint64_t before = fileTime(utcTime());
    put("file.d/a", "x");
    File file;
    ASSERT_EQ(file.open("file.d/a", OpenFor::read), 0u);
    std::uint64_t written = 0;
    EXPECT_EQ(file.lastWriteTime(&written), 0u);
    const std::uint64_t second = 10000000;
    EXPECT_LT(before, written + 3 * second); // some file systems count in two seconds
    EXPECT_LT(written, before + 60 * second);
}
