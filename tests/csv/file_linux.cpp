// Targets that only Linux has.

#include "csv/support.h"

#include <ztree/ext/csv.h>

#include <cstdio>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

TEST(csvWriter, devicesLinksAndRights)
{
    csvBuffer buffer;
    const unsigned short id = 101;
    const zulong value = 7;
    buffer.setFieldOrder(&id, 1);
    buffer.addFieldDefinition(csvUlong(101, &value, 0));
    const auto write = [&buffer](const char* path, int lines) {
        ztree::CsvWriter writer(buffer);
        int result = writer.openFile(path);
        for (int i = 0; i < lines && result == 0; ++i)
            result = writer.write(nullptr);
        const int finished = writer.finish();
        return result ? result : finished;
    };
    const int diskFull = static_cast<int>(0x80070070);
    EXPECT_EQ(write("/dev/full", 1), diskFull);       // seen by finish()
    EXPECT_EQ(write("/dev/full", 200'000), diskFull); // seen by write()
    EXPECT_EQ(write("/dev/null", 1), 0);
    EXPECT_EQ(access("/dev/full", W_OK), 0);
    EXPECT_EQ(write("/dev", 1), static_cast<int>(0x80070005));
    EXPECT_EQ(write("no such folder/x.csv", 1), static_cast<int>(0x80070003));

    // A link stays one; a replaced file keeps its rights.
    const char* const file = "csv_rights_test.csv";
    const char* const link = "csv_link_test.csv";
    std::ofstream(file) << "old";
    ASSERT_EQ(chmod(file, 0640), 0);
    EXPECT_EQ(write(file, 1), 0);
    struct stat s;
    ASSERT_EQ(stat(file, &s), 0);
    EXPECT_EQ(s.st_mode & 0777, 0640u);
    std::remove(link);
    ASSERT_EQ(symlink(file, link), 0);
    EXPECT_EQ(write(link, 2), 0);
    ASSERT_EQ(lstat(link, &s), 0);
    EXPECT_TRUE(S_ISLNK(s.st_mode));
    ASSERT_EQ(stat(file, &s), 0);
    EXPECT_EQ(s.st_size, 6);
    std::remove(link);
    std::remove(file);
}

} // namespace
