// Logs and their clients, expressions, amounts in words.

#include "faults/sweep.h"
#include "log/support.h"

#include <ztree/datetime.h>
#include <ztree/ext/expression.h>
#include <ztree/ext/log.h>

namespace {

using namespace faults;
using RuntimeFaults = Sweep;

const std::string many(5000, 'm');
const tagLogMode modes[] = {{1, ZTEXT("one"), ZTEXT("first")}, {2, nullptr, nullptr}};

TEST_F(RuntimeFaults, logs)
{
    const FixedClock clock;
    struct Logs {
        TextLog log, chained;
        logClient client;
        Logs()
        {
            log.AddRef();
            chained.AddRef();
            client.setLogLevelList(logClient::s_aLogLevelDefault, 2);
            client.setLogModeList(modes, 1);
        }
        ~Logs()
        {
            log.setChain(nullptr);
            client.setLog(nullptr);
        }
        std::string told()
        {
            const tagLogList* levels = nullptr;
            const tagLogMode* ofClient = nullptr;
            int n = 0, m = 0;
            client.getLogLevelList(1, 0, &levels, &n);
            client.getLogModeList(1, 0, &ofClient, &m);
            return log.take() + chained.take() + std::to_string(n) + "," + std::to_string(m);
        }
    };
    const std::function<long(Logs&)> operations[] = {
        [](Logs& l) { return l.log.setHint(many.c_str()); },
        [](Logs& l) { return l.log.write(many.c_str(), -1); },
        [](Logs& l) { return l.log.writelnEntry(logError, many.c_str(), -1); },
        [](Logs& l) { return l.log.sysMessage(many.c_str(), 2); },
        [](Logs& l) { return l.log.sysMessageEntry(logError, many.c_str(), 2); },
        [](Logs& l) { return l.log.printf("%s", many.c_str()); },
        [](Logs& l) { return l.log.printfEntry(logError, "%s %d", many.c_str(), 7); },
        [](Logs& l) { return l.log.hexDump(logError, many.data(), 300); },
        [](Logs& l) { return l.log.setChain(&l.chained); },
        [](Logs& l) {
            structExcept(5).dump(&l.log, "%s", many.c_str());
            return 0;
        },
        [](Logs& l) {
            l.client.setLog(&l.log);
            l.client.setLogLevel(logDebug);
            return ztree::log(l.client, logInfo, "{}", 7);
        },
        [](Logs&) {
            auto* const log = have(new fileLog);
            log->AddRef();
            const HRESULT result = log->setFlushPolicy(fileLog::flushBlocks);
            const HRESULT opened = log->open("faults.d/no folder/app.log");
            log->Release();
            return result ? result : opened;
        },
        [](Logs& l) { return l.client.addLogModeList(modes, 2); },
    };
    for (const auto& run : operations)
        sweep(
            "log " + std::to_string(&run - operations), [] { return std::make_unique<Logs>(); },
            [&](Logs& l) { return std::to_string(want(run(l))); });
    // A list that cannot be made takes the old one along.
    struct Replaced {
        const char* left; // levels, modes
        std::function<void(logClient&)> run;
    };
    const Replaced replaced[] = {
        {"0,1", [](logClient& c) { want(c.setLogLevelList(logClient::s_aLogLevelDefault, 8)); }},
        {"2,0", [](logClient& c) { want(c.setLogModeList(modes, 2)); }},
    };
    for (const Replaced& r : replaced)
        sweepChange(
            r.left, [] { return std::make_unique<Logs>(); },
            [&r](Logs& l) {
                try {
                    r.run(l.client);
                } catch (const structExcept&) {
                    EXPECT_EQ(l.told(), r.left);
                    throw;
                }
            },
            Again::any);
    sweep("chained", [] {
        Logs l;
        l.log.setChain(&l.chained);
        const long result = want(l.log.writelnEntry(logError, many.c_str(), -1));
        return std::to_string(result) + l.log.take() + l.chained.take();
    });
}

TEST_F(RuntimeFaults, logLines)
{
    // Without memory a line is cut.
    const std::string text(3000, 'm');
    char line[6000];
    const auto act = [&] {
        const std::size_t n = ztree::logText(line, sizeof line, "{} {:x} {:.3} {}", text, 255, 2.5, text);
        must(n == sizeof line);
        return std::string(line, n);
    };
    sweep("line", act);
}

TEST_F(RuntimeFaults, expressions)
{
    std::string nested, unary;
    for (int i = 0; i < 200; ++i) {
        nested += "1+(2*(3-";
        unary += "-~!(1||";
    }
    const std::string close(400, ')');
    for (const std::string& text :
         {std::string(40, '-') + "1", std::string(40, '(') + "1" + std::string(40, ')'), nested + "4" + close,
          unary + "0" + close, std::string("1+2*3-4]5&&6"), nested + "4" + close + "+1[2==3|4^5*(6%7)"}) {
        sweep("value", [&] {
            const expression whole(text.c_str());
            expression copy(whole), left, right;
            expression::oper op = expression::opNone;
            const int at = copy.split(left, right, &op);
            left = copy;
            return std::to_string(left.eval()) + "," + std::to_string(at) + "," + std::to_string(op);
        });
        sweep("checked", [&] {
            const ztree::ExprResult r = ztree::checkedEval(text);
            return std::to_string(r.value) + "," + std::to_string(static_cast<int>(r.error)) + "," +
                   std::to_string(r.position);
        });
    }
}

TEST_F(RuntimeFaults, amountsInWords)
{
    for (const char* language : {"EN", "DE", "RU"})
        for (const char* currency : {"EUR", "kzt", "abc"})
            for (const unsigned flags : {0u, 3u, 0x103u}) {
                sweep(
                    "words", [] { return std::make_unique<ZStringW>(ZTEXT("old")); },
                    [&](ZStringW& out) {
                        const int result =
                            doubleAmountInWords(-123456789012.34, currency, language, flags, out);
                        return std::to_string(result) + shown(out);
                    });
                sweep("words in a buffer", [&] {
                    zwchar out[300];
                    doubleAmountInWords(987654321.01, currency, language, flags, out, 300);
                    return shown(out);
                });
            }
    sweep("words in UTF-8", [] {
        amtRussian words;
        ZString all, modern;
        words.getTextA(1e9 + 1, "RUB", all);
        words.getTextExA(21.5, "USD", ztree::wordsModern, modern);
        return shown(all) + shown(modern);
    });
}

} // namespace
