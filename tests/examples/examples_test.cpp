// The programs of examples/ print what examples/expected says, and the README shows the first of them as it
// is.
#include "tool/process.h"
#include "tool/transcript.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <string>

namespace fs = std::filesystem;

namespace {

const fs::path examples = ZTREE_EXAMPLE_FOLDER;

// Text streams end lines with CR LF on Windows.
std::string textOf(std::string bytes)
{
    bytes.erase(std::remove(bytes.begin(), bytes.end(), '\r'), bytes.end());
    return bytes;
}

std::string fileText(const fs::path& path)
{
    return textOf(::fileText(path.u8string()));
}

TEST(Examples, printWhatIsExpected)
{
    const fs::path folder = fs::current_path() / "examples.d";
    fs::remove_all(folder);
    fs::create_directory(folder);
    fs::copy_file(examples / "expected" / "server.in", folder / "server.in");
    int programs = 0;
    for (const fs::directory_entry& file : fs::directory_iterator(examples)) {
        if (file.path().extension() != ".cpp")
            continue;
        const std::string name = file.path().stem().u8string();
        SCOPED_TRACE(name);
        const std::string input = name + ".in";
        const ProcessResult result =
            runProcess({programFolder() + "/example_" + name + programSuffix}, folder.u8string(),
                       fs::exists(folder / input) ? input : "", folder.u8string());
        EXPECT_EQ(result.code, 0);
        EXPECT_EQ(textOf(result.out), fileText(examples / "expected" / (name + ".txt")));
        EXPECT_EQ(result.err, "");
        ++programs;
    }
    EXPECT_GE(programs, 11);
    EXPECT_NE(fileText(folder / "server.log").find("ERROR] 1:30: "), std::string::npos);
    EXPECT_NE(fileText(folder / "stock.csv").find("nut;25\n"), std::string::npos);
    fs::remove_all(folder);
}

TEST(Examples, readmeShowsTheFirstOne)
{
    const std::string readme = fileText(examples.parent_path() / "README.md");
    for (const char* part : {"first_steps.cpp", "expected/first_steps.txt"}) {
        const std::string text = fileText(examples / part);
        EXPECT_FALSE(text.empty());
        EXPECT_NE(readme.find("\n" + text + "```\n"), std::string::npos) << part;
    }
}

} // namespace
