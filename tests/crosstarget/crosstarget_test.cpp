// The same random calls on every target, against one table of hashes.
//
// ZTREE_CROSSTARGET=FOLDER writes the table for hashes.inc and, group by group, every call to that folder, so
// that two targets' calls can be compared line by line. The table is right when both targets write the same.

#include "crosstarget/calls.h"
#include "log/support.h"

#include <gtest/gtest.h>
#include <ztree/runtime.h>

#include <cinttypes>
#include <cstdlib>

namespace crosstarget {
namespace {

struct Row {
    const char* name;
    long calls;
    std::uint64_t hash;
};
const Row table[] = {
#include "crosstarget/hashes.inc"
};

Row run(const Group& group, std::FILE* trace)
{
    Calls calls(trace);
    for (int i = 0; i < group.cases; ++i) {
        Random random(static_cast<std::uint64_t>(i) * 0x10001u + 20120302u);
        try {
            group.run(calls, random);
        } catch (const structExcept& e) {
            Call{calls, "thrown", e.getCode()};
        }
    }
    return {group.name, calls.count(), calls.hash()};
}

} // namespace

TEST(CrossTarget, answersAsRecorded)
{
    const FixedClock clock;
    const char* const folder = std::getenv("ZTREE_CROSSTARGET");
    const auto open = [folder](const std::string& name) {
        return folder ? std::fopen((std::string(folder) + "/" + name).c_str(), "wb") : nullptr;
    };
    std::FILE* const out = open("hashes.inc");
    long total = 0;
    std::size_t row = 0;
    for (const auto* groups : {&textGroups, &treeGroups, &dataGroups})
        for (const Group& group : *groups) {
            std::FILE* const trace = open(group.name);
            const Row now = run(group, trace);
            if (trace)
                std::fclose(trace);
            total += now.calls;
            std::printf("%-12s %6ld calls  %016" PRIx64 "\n", now.name, now.calls, now.hash);
            if (out) {
                std::fprintf(out, "{\"%s\", %ld, 0x%016" PRIx64 "u},\n", now.name, now.calls, now.hash);
                continue;
            }
            ASSERT_LT(row, std::size(table)) << "a group without a row";
            const Row& recorded = table[row++];
            EXPECT_STREQ(recorded.name, now.name);
            EXPECT_EQ(recorded.calls, now.calls) << now.name;
            EXPECT_EQ(recorded.hash, now.hash) << now.name << ": see the head of this file";
        }
    if (out)
        std::fclose(out);
    EXPECT_GE(total, 100000);
}

} // namespace crosstarget
