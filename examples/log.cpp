// A log file with levels, a filter in front of it, rotation, a chain of logs, and a hex dump.

#include <ztree/ext/log.h>

#include <cstdio>
#include <fstream>
#include <string>

int main()
{
    const char* const names[] = {"example000.log", "example001.log", "example.log"};
    for (const char* name : names)
        std::remove(name);

    // COM-style objects: whoever keeps one holds a reference.
    auto* file = new fileLog;
    file->AddRef();
    file->setFlags(1); // no headers: time and thread would differ from run to run
    file->setLimit(180, 2);
    if (file->open("example.log") != 0)
        return 1;

    // A component asks its client first: what is filtered out costs a comparison, nothing is formatted.
    logClient client;
    client.setLog(file);
    client.setLogLevelString(ZTEXT("INFO"));
    ztree::log(client, logInfo, "{} started with {} threads", "server", 4);
    ztree::log(client, logDebug, "never seen: {}", 1);
    ztree::log(client, logWarning, "{:.1} % full, flags {:x}", 93.75, 255);
    ztree::log(client, logError, "no file {}", std::string("stock.csv"));
    file->hexDump(logInfo, "ztree", 5);
    for (int i = 1; i <= 7; ++i) // the file reaches its limit: what is full is moved aside
        ztree::log(client, logNotice, "entry {} of seven that fill the file", i);
    client.setLog(nullptr);
    file->close();
    file->Release();

    for (const char* name : names) {
        std::printf("-- %s\n", name);
        std::ifstream in(name);
        for (std::string line; std::getline(in, line);) {
            if (!line.empty() && line.back() == '\r')
                line.pop_back();
            if (line.find("Memory at") != std::string::npos) // an address
                line = "Memory at 0x..., 5 bytes";
            else if (line.size() > 10 && line[8] == ':')
                line.replace(0, 8, "........");
            std::printf("%s\n", line.c_str());
        }
    }
}
