#include "log/fileLog_fixture.h"

#include <algorithm>
#include <vector>

namespace fs = std::filesystem;
using platform::Hooks;
using platform::Site;

namespace {

/// Remembers what it is told.
class NotedErrors final : public IErrorLog {
public:
    HRESULT ZTREE_COMCALL QueryInterface(const GUID&, void**) override { return E_NOINTERFACE; }
    zulong ZTREE_COMCALL AddRef() override { return ++references; }
    zulong ZTREE_COMCALL Release() override { return --references; }
    HRESULT ZTREE_COMCALL logFailed(const char* target, zlong code) override
    {
        char line[200];
        std::snprintf(line, sizeof line, "%s %X;", fs::path(target).filename().string().c_str(),
                      static_cast<unsigned>(code));
        text += line;
        return S_OK;
    }
    std::string text;
    unsigned references = 0;
};

using Names = std::vector<std::string>;

Names files()
{
    Names names;
    for (const auto& entry : fs::directory_iterator(LogFolder::path))
        names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

void failFiles(long nth)
{
    Hooks::failAt(Site::file, nth, true, 112);
}

TEST_F(FileLogTest, appendsBesideOthers)
{
    EXPECT_EQ(line("x"), hr(0x80070006));
    EXPECT_EQ(log->isOpen(), hr(0x80070006));
    EXPECT_EQ(log->reset(), hr(0x80070006));
    EXPECT_EQ(log->close(), hr(0x80070006));
    EXPECT_EQ(log->open(nullptr), hr(0x80070057));
    EXPECT_EQ(log->open(path), S_OK);
    EXPECT_EQ(log->isOpen(), S_OK);
    line("one");
    EXPECT_EQ(get("app.log"), "one\r\n"); // at once, and others may read
    auto* const second = new fileLog;
    second->AddRef();
    second->open(path);
    second->write("two\r\n", 5);
    line("three");
    second->Release();
    EXPECT_EQ(get("app.log"), "one\r\ntwo\r\nthree\r\n");
    EXPECT_EQ(log->reset(), S_OK);
    line("four");
    EXPECT_EQ(get("app.log"), "four\r\n");
    EXPECT_EQ(log->open("log.d/other.log"), S_OK);
    line("five");
    EXPECT_EQ(log->close(), S_OK);
    EXPECT_EQ(line("x"), hr(0x80070006));
    EXPECT_EQ(get("other.log"), "five\r\n");
}

TEST_F(FileLogTest, rotates)
{
    EXPECT_EQ(log->setLimit(10, 0), hr(0x80070057));
    EXPECT_EQ(log->setLimit(10, 1001), hr(0x80070057));
    EXPECT_EQ(log->setLimit(10, 2), S_OK);
    log->open(path);
    line("12345678"); // full
    EXPECT_EQ(files(), Names{"app.log"});
    line("a");
    EXPECT_EQ(get("app000.log"), "12345678\r\n");
    line("longer than the limit");
    line("b");
    EXPECT_EQ(files(), (Names{"app.log", "app000.log", "app001.log"})); // the oldest was replaced
    EXPECT_EQ(get("app.log"), "b\r\n");
    log->close();

    log->setLimit(0, 0);
    log->setRotateOnOpen(true);
    log->open(path);
    EXPECT_EQ(get("app.log"), "");
    EXPECT_EQ(get("app002.log"), "b\r\n");
    log->open(path); // nothing in it, so it stays
    EXPECT_EQ(files().size(), 4u);
    log->setRotateOnOpen(false);
    EXPECT_EQ(log->setLimit(10, 5), S_OK);
    EXPECT_EQ(log->open("log.d/plain"), S_OK); // no extension: it cannot be moved, so it grows
    EXPECT_EQ(line("12345678"), S_OK);
    EXPECT_EQ(line("more"), S_OK);
    EXPECT_EQ(get("plain"), "12345678\r\nmore\r\n");
}

TEST_F(FileLogTest, blocksAreWrittenWholeAndInTime)
{
    EXPECT_EQ(log->setFlushPolicy(fileLog::flushBlocks), S_OK);
    log->open(path);
    line("one");
    EXPECT_EQ(get("app.log"), "");
    line("two", logError);
    EXPECT_EQ(get("app.log"), "one\r\ntwo\r\n");
    line("three");
    log->flush();
    EXPECT_EQ(get("app.log").size(), 17u);
    const std::string text(1000, 'x');
    for (int i = 0; i < 70; ++i)
        line(text.c_str());
    EXPECT_EQ(get("app.log").size(), 17u + 65 * 1002);
    line(std::string(100000, 'y').c_str()); // more than a block holds
    EXPECT_EQ(get("app.log").size(), 17u + 70 * 1002 + 100002);
    line("four");
    log->setFlushPolicy(fileLog::flushDisk);
    EXPECT_EQ(get("app.log").size(), 17u + 70 * 1002 + 100002 + 6);
    line("five");
    log->setFlushPolicy(fileLog::flushBlocks);
    line("six");
    log->close();
    const std::string all = get("app.log");
    EXPECT_EQ(all.substr(all.size() - 17), "four\r\nfive\r\nsix\r\n");
}

TEST_F(FileLogTest, saysWhatIsMissingWhenItRecovers)
{
    NotedErrors errors;
    log->setErrorLog(&errors);
    log->open(path);
    line("one");
    failFiles(1);
    EXPECT_EQ(line("two"), hr(0x80070070));
    EXPECT_EQ(line("three"), hr(0x80070070));
    EXPECT_EQ(log->isOpen(), hr(0x80070070));
    failFiles(0);
    EXPECT_EQ(line("four"), S_OK);
    EXPECT_EQ(log->isOpen(), S_OK);
    EXPECT_EQ(line("five"), S_OK);
    EXPECT_EQ(get("app.log"), "one\r\n*** 2 entries lost: 112 - Disk full. ***\r\nfour\r\nfive\r\n");
    EXPECT_EQ(errors.text, "app.log 80070070;app.log 0;");
    log->setErrorLog(nullptr);
    EXPECT_EQ(errors.references, 0u);
}

TEST_F(FileLogTest, aBlockIsKeptUntilItCanBeWritten)
{
    log->setFlushPolicy(fileLog::flushBlocks);
    log->open(path);
    line("one");
    failFiles(1);
    EXPECT_EQ(log->flush(), hr(0x80070070));
    EXPECT_EQ(line("two", logCritical), hr(0x80070070)); // had to be written, and is kept
    EXPECT_EQ(line("three"), S_OK);
    const std::string text(65530, 'x');
    EXPECT_EQ(line(text.c_str()), hr(0x80070070)); // no room beside the others
    failFiles(0);
    EXPECT_EQ(log->flush(), S_OK);
    EXPECT_EQ(get("app.log"), "*** 1 entries lost: 112 - Disk full. ***\r\none\r\ntwo\r\nthree\r\n");
}

TEST_F(FileLogTest, waitsForItsFolder)
{
    NotedErrors errors;
    log->setErrorLog(&errors);
    const HRESULT noFolder = hr(0x80070003);
    EXPECT_EQ(log->open("log.d/sub/app.log"), noFolder);
    EXPECT_EQ(line("one"), noFolder);
    fs::create_directory("log.d/sub");
    EXPECT_EQ(line("two"), S_OK);
    EXPECT_EQ(get("sub/app.log"), "*** 1 entries lost: 3 - Path not found. ***\r\ntwo\r\n");
    EXPECT_EQ(errors.text, "app.log 80070003;app.log 0;");
    EXPECT_EQ(log->open(folder.path), hr(0x80070005)); // a folder is no file
    EXPECT_EQ(log->close(), S_OK);
    log->setErrorLog(nullptr);
}

TEST_F(FileLogTest, everyFileCallMayFailAndNothingIsLostSilently)
{
    for (const fileLog::FlushPolicy policy : {fileLog::flushEach, fileLog::flushBlocks, fileLog::flushDisk})
        for (long nth = 1, hits = 1; hits > 0; ++nth) {
            SCOPED_TRACE(testing::Message() << "policy " << policy << ", call " << nth);
            for (const std::string& name : files())
                fs::remove("log.d/" + name);
            log->setFlushPolicy(policy);
            log->setLimit(40, 100);
            Hooks::failAt(Site::file, nth, false, 112);
            log->open(path); // tried again by what is written
            int accepted = 0;
            int refused = 0;
            for (int i = 0; i < 6; ++i)
                ++(line(("entry " + std::to_string(100 + i)).c_str()) == S_OK ? accepted : refused);
            const bool closed = log->close() == S_OK;
            hits = Hooks::failed(Site::file);
            Hooks::failAt(Site::file, 0);
            std::string all;
            for (const std::string& name : files())
                all += get(name);
            int found = 0;
            for (int i = 0; i < 6; ++i)
                found += all.find("entry " + std::to_string(100 + i) + "\r\n") != std::string::npos;
            EXPECT_GE(found, closed ? accepted : 0) << all;
            EXPECT_LE(refused, 1);
        }
    log->setLimit(0, 0);
}

TEST_F(FileLogTest, withoutALockThereIsNone)
{
    Hooks::failAt(Site::lock, 1);
    try {
        fileLog refused;
        ADD_FAILURE();
    } catch (const structExcept& e) {
        EXPECT_EQ(e.getCode(), ztree::errLock);
    }
    Hooks::failAt(Site::lock, 0);
}

} // namespace
