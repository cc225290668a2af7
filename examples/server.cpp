// A small order server: four threads take XML requests, one a line (example_server < expected/server.in), and
// share a tree and a log that is rotated; at the end the stock leaves as a CSV file.

#include <ztree/ext/csv.h>
#include <ztree/ext/log.h>
#include <ztree/ext/tree.h>
#include <ztree/ext/xml.h>

#include <iostream>
#include <mutex>
#include <string>
#include <thread>

struct Server {
    ZTree stock; // <stock><part name="...">count</part>...</stock>
    int done = 0, refused = 0;
    std::mutex lock; // of the three above and of standard input
    logClient log;   // any thread may write at any time

    bool handle(const std::string& text)
    {
        ZTree request;
        ztree::XmlError e;
        if (!ztree::readXml(text, request, &e)) {
            ztree::log(log, logError, "{}:{}: {}", e.line, e.column, e.message);
            return false;
        }
        const std::string part = ztree::get<std::string>(request, "@part", "");
        const int count = ztree::get<int>(request, "@count", 0);
        ztree::log(log, count ? logInfo : logWarning, "{}: {}", part, count);
        const std::string place = "part[@name='" + part + "']";
        const std::lock_guard<std::mutex> hold(lock);
        return count && ztree::set(stock, place, ztree::get<int>(stock, place, 0) + count);
    }
    void work()
    {
        for (std::string line;;) {
            {
                const std::lock_guard<std::mutex> hold(lock);
                if (!std::getline(std::cin, line))
                    return;
            }
            const bool good = handle(line);
            const std::lock_guard<std::mutex> hold(lock);
            ++(good ? done : refused);
        }
    }
};

int main()
{
    auto* file = new fileLog;
    file->setLimit(1 << 20, 5); // server.log, then server000.log to server004.log
    file->open("server.log");
    Server server;
    server.log.setLog(file);
    server.log.setLogLevel(logInfo);
    server.stock.set(new ZTBranch("stock"));

    std::thread workers[4];
    for (std::thread& worker : workers)
        worker = std::thread(&Server::work, &server);
    for (std::thread& worker : workers)
        worker.join();

    varnik::ztree::csvBuffer settings; // separator ';', quotes where they have to be
    settings.setParameter(varnik::ztree::csvParamDialect, varnik::ztree::csvDialectRfc);
    ztree::CsvWriter csv(settings);
    csv.openFile("stock.csv");
    int pieces = 0;
    for (const ZTBranch* part : ztree::children(*server.stock.root())) {
        const std::string row[] = {ztree::get<std::string>(*part, "@name", ""), ztree::text(*part)};
        const std::string_view columns[] = {row[0], row[1]};
        csv.writeTexts(columns, 2);
        pieces += ztree::get<int>(*part, ".", 0);
    }
    std::cout << server.done << " done, " << server.refused << " refused, " << pieces << " pieces in stock, "
              << (csv.finish() == 0 ? "stock.csv written\n" : "stock.csv failed\n");
}
