#include "tool/process.h"
#include "tool/transcript.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

namespace fs = std::filesystem;

namespace {

// transcripts/NAME.txt is replayed on both targets, transcripts/NAME_linux.txt on Linux alone: devices, pipes
// and limits of the shell.
std::vector<std::string> transcripts()
{
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(ZTREE_TRANSCRIPTS)) {
        const std::string name = entry.path().stem().string();
        if (*programSuffix == 0 || name.find("_linux") == std::string::npos)
            names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

class Transcript : public testing::TestWithParam<std::string> {
protected:
    void SetUp() override
    {
        m_folder =
            fs::temp_directory_path() / ("ztree-" + GetParam() + std::to_string(std::random_device()()));
        fs::create_directories(m_folder);
        setVariable("NO_COLOR", nullptr);
        if (const char* path = std::getenv("PATH"); path && *programSuffix == 0)
            setVariable("PATH", (programFolder() + ':' + path).c_str()); // for the shell's commands
    }
    void TearDown() override
    {
        std::error_code ignored;
        fs::remove_all(m_folder, ignored);
    }
    fs::path m_folder;
};

// The first line that is different, behind some that are not.
std::string difference(const std::string& expected, const std::string& actual)
{
    std::istringstream wanted(expected);
    std::istringstream got(actual);
    std::string before;
    for (std::string a, b;;) {
        const bool more = static_cast<bool>(std::getline(wanted, a));
        if (!std::getline(got, b))
            return before + "it ends; instead of: " + a;
        if (!more || a != b)
            return before + "now:        " + b + "\ninstead of: " + a;
        before = (a[0] == '$' ? std::string() : before) + a + '\n';
    }
}

} // namespace

// With ZTREE_ACCEPT set, what came is
// written back into the transcript, to be looked through before it is kept.
TEST_P(Transcript, replays)
{
    const std::string path = std::string(ZTREE_TRANSCRIPTS) + '/' + GetParam() + ".txt";
    const std::string expected = fileText(path);
    ASSERT_FALSE(expected.empty());
    const std::string actual = replayTranscript(expected, m_folder.u8string());
    EXPECT_TRUE(expected == actual) << difference(expected, actual);
    if (actual != expected && std::getenv("ZTREE_ACCEPT"))
        std::ofstream(path, std::ios::binary) << actual;
}

INSTANTIATE_TEST_SUITE_P(, Transcript, testing::ValuesIn(transcripts()),
                         [](const auto& row) { return row.param; });
