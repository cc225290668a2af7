#pragma once
// A log and a folder for its files; what it leaves behind of blocks is found.

#include "log/support.h"
#include "support/heap_fixture.h"

class FileLogTest : public HeapTest {
protected:
    void SetUp() override
    {
        HeapTest::SetUp();
        log = new fileLog;
        log->AddRef();
        log->setFlags(1);
    }
    void TearDown() override
    {
        log->Release();
        HeapTest::TearDown();
    }
    static std::string get(const std::string& name) { return LogFolder::get(name); }
    HRESULT line(const char* text, unsigned level = logInfo) { return log->writelnEntry(level, text, -1); }

    const LogFolder folder;
    const char* const path = "log.d/app.log";
    fileLog* log = nullptr;
};
