// What lives in files or stands on a terminal on this target alone: the registry's store, coloured logs.

#include "faults/calls.h"
#include "faults/sweep.h"

#include <ztree/ext/csv.h>
#include <ztree/ext/xml.h>
#include <ztree/helpers.h>
#include <ztree/log.h>

#include <cstdint>
#include <cstdlib>
#include <unistd.h>

namespace {

using namespace faults;

const GUID someClass = {0x0002DF01, 0, 0x4321, {0xC0, 0, 0, 0xAB, 0, 0, 0, 0x46}};
const char* const someText = "{0002DF01-0000-4321-C000-00AB00000046}";

class StoreFaults : public Sweep {
protected:
    StoreFaults() { setenv("ZTREE_REGISTRY", folder, 1); }
    ~StoreFaults() override
    {
        unsetenv("ZTREE_REGISTRY");
        std::system((std::string("rm -rf ") + folder).c_str());
    }
    static unsigned code(long result) { return static_cast<unsigned>(result); }
    static std::string lookUp()
    {
        GUID found{};
        char name[100];
        done(getClassIdFromName("Ztree.Thing", found));
        done(getNameFromClassId(someClass, name, sizeof name));
        return name + std::to_string(found.Data1);
    }
    static void store()
    {
        const struct {
            const char *key, *text;
        } values[] = {{"Ztree.Thing.2\\CLSID", someText},
                      {"Ztree.Thing\\CurVer", "Ztree.Thing.2"},
                      {"CLSID\\{0002DF01-0000-4321-C000-00AB00000046}\\ProgID", "Ztree.Thing.2"}};
        for (const auto& v : values)
            done(setRegKeyValue(HKEY_CLASSES_ROOT, v.key, nullptr, v.text, REG_SZ, 0, nullptr));
    }
};

TEST_F(StoreFaults, registry)
{
    const auto all = [] {
        HKEY key = nullptr;
        const long result =
            setRegKeyValue(HKEY_CURRENT_USER, "Software\\Ztree", "Value", "text", REG_SZ, 0, &key);
        if (key)
            RegCloseKey(key);
        done(result);
        store();
        return lookUp();
    };
    sweep("keys and values", all);
    files("keys and values", {}, all);
    // A value is the old one or the new one, and no other file is left.
    store();
    const Files before = filesNow();
    files(
        "another value", before,
        [] {
            done(setRegKeyValue(HKEY_CLASSES_ROOT, "Ztree.Thing.2\\CLSID", nullptr, "new", REG_SZ, 0,
                                nullptr));
            return "stored";
        },
        Left::whole);
    // Whatever fails, a class that is there is not reported as one that is not registered.
    store();
    for (const bool onward : {false, true})
        for (long nth = 1, failed = 1; failed; ++nth) {
            platform::Hooks::failAt(platform::Site::heap, nth, onward);
            GUID found{};
            const unsigned result = code(getClassIdFromName("Ztree.Thing", found));
            failed = platform::Hooks::failed(platform::Site::heap);
            platform::Hooks::failAt(platform::Site::heap, 0);
            EXPECT_NE(result, 0x80070002u) << nth;
        }
}

TEST_F(StoreFaults, pipesAndDevices)
{
    // A pipe says no size: the text grows while it is read.
    const std::string text = "<r>" + std::string(60'000, 'x') + "</r>"; // less than a pipe holds
    sweep("pipe", [&] {
        int ends[2] = {-1, -1};
        if (pipe(ends) != 0 || write(ends[1], text.data(), text.size()) < 0)
            return std::string("no pipe");
        close(ends[1]);
        struct Closed {
            int end;
            ~Closed() { close(end); }
        } const closed{ends[0]};
        ZTree tree;
        must(ztree::readXmlFile(("/proc/self/fd/" + std::to_string(ends[0])).c_str(), tree));
        return std::to_string(tree.root()->getType()) + shown(tree.root()->getName());
    });
    const varnik::ztree::csvBuffer settings;
    ztree::CsvWriter writer(settings);
    const std::string_view row[] = {"a", "b"};
    files("device", {}, [&] {
        done(writer.openFile("/dev/null"));
        done(writer.writeTexts(row, 2));
        done(writer.finish());
        return "written";
    });
    EXPECT_EQ(writer.openFile("/dev/full"), 0);
    EXPECT_EQ(writer.writeTexts(row, 2), 0);
    EXPECT_EQ(static_cast<unsigned>(writer.finish()), 0x80070070u);
}

TEST_F(StoreFaults, colouredLog)
{
    const char* const before = std::getenv("TERM");
    const std::string term = before ? before : "";
    setenv("TERM", "xterm", 1);
    SystemCalls::pretendTerminal(true);
    const auto make = [] {
        auto log = std::make_unique<conLog>();
        log->AddRef();
        return log;
    };
    sweep("coloured", make, [](conLog& log) {
        return std::to_string(want(log.writelnEntry(logError, std::string(3000, 'm').c_str(), -1)));
    });
    SystemCalls::pretendTerminal(false);
    setenv("TERM", term.c_str(), 1);
}

} // namespace
