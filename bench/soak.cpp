// Hours of a server's work in one process: two threads read and change XML, search trees, print, log, take
// CSV and attributes apart, evaluate expressions, throw, and free what the other one has made.
//   ztree_soak [SECONDS]     600 unless told otherwise
// Every few seconds both threads end, and with them all that they own: only then is memory looked at. Exit
// code 1 when an answer is wrong, or when memory is not flat: when the highest of the last half of these
// moments is more than 2 % and 2 MB above the highest of the first half, the first minute (or third, if that
// is shorter) left out. Memory is the heap's in use, and what is resident but for what the heap keeps idle:
// 32 MB at most, however long it takes until so much has been idle at once.

#include "resident.h"

#include <ztree/attributes.h>
#include <ztree/expression.h>
#include <ztree/ext/attrib.h>
#include <ztree/ext/containers.h>
#include <ztree/ext/csv.h>
#include <ztree/ext/expression.h>
#include <ztree/ext/log.h>
#include <ztree/ext/memory.h>
#include <ztree/ext/strings.h>
#include <ztree/ext/tree.h>
#include <ztree/ext/xml.h>
#include <ztree/tokenizer.h>
#include <ztree/xml.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

std::atomic<long> s_wrong{0};
void expect(bool right, const char* what)
{
    if (!right && s_wrong.fetch_add(1) < 20)
        std::fprintf(stderr, "soak: wrong answer: %s\n", what);
}

// --- what a thread knows, and what all share ---
struct Random {
    explicit Random(unsigned seed) : state(seed) {}
    unsigned below(unsigned n)
    {
        state = state * 1664525 + 1013904223;
        return (state >> 8) % n;
    }
    unsigned state;
};
struct Item : ZSortObject {
    explicit Item(unsigned k) : key(k), text(narrowText(k)) {}
    int compare(const ZSortObject* other) const override
    {
        const unsigned theirs = static_cast<const Item*>(other)->key;
        return key < theirs ? -1 : key > theirs;
    }
    static ZString narrowText(unsigned k) { return ztree::narrow(std::string(k % 100, 'x')); }
    unsigned key;
    ZString text;
};
struct Shared {
    ZArray strings; ///< ZString*, made here and freed there
    ZSortArray sorted;
    ZComArray objects;
    logClient log;
};

// --- requests ---
std::string document(Random& random, unsigned parts)
{
    std::string text = "<?xml version='1.0'?>\n<order id='" + std::to_string(random.below(1000)) + "'>\n";
    for (unsigned i = 0; i < parts; ++i) {
        const std::string n = std::to_string(i);
        text += "  <part name='p" + n + "' unit=\"bar\"><count>" + n + "</count><note>" +
                std::string(random.below(60), 'n') + " &amp; more</note></part>\n";
    }
    return text + "</order>\n";
}

void xmlRequestOf(unsigned parts, Random& random)
{
    const std::string text = document(random, parts);
    ZTree tree;
    ztree::XmlError error;
    expect(ztree::readXml(text.data(), text.size(), tree, &error), error.message);
    const std::string last = std::to_string(parts - 1);
    expect(ztree::get<int>(tree, "part[@name='p" + last + "']/count", -1) == static_cast<int>(parts) - 1,
           "count");
    expect(ztree::findAll(tree, "//note").size() == parts, "notes");
    ztree::set(tree, "part[@name='p0']/price", 12.5);
    expect(ztree::remove(tree, "part/@unit") == static_cast<int>(parts), "units");
    ZString out;
    ZTree again, copy;
    expect(ztree::writeXml(tree, out) &&
               ztree::readXml(out.getBuffer(), static_cast<std::size_t>(out.length()), again),
           "written and read");
    ztree::copyTree(again, copy);
    std::stringstream stream;
    expect(ztree::saveTree(copy, stream) && ztree::loadTree(stream, again), "saved and loaded");
    expect(again.root()->getChildCount() == static_cast<int>(parts), "children");
    const std::string broken = text.substr(0, text.size() - 3);
    expect(!ztree::readXml(broken.data(), broken.size(), again, &error) && error.line > 1, "broken document");
}

void xmlRequest(Random& random, Shared&)
{
    xmlRequestOf(1 + random.below(60), random);
}

void smallXmlRequest(Random& random, Shared&)
{
    const std::string text = document(random, 1 + random.below(30));
    ZXmlReader reader(text.c_str());
    expect(!reader.load(random.below(2) == 0, true), "load");
    const std::unique_ptr<ZTree> tree(reader.createTree(true));
    expect(tree != nullptr, "tree");
    ZXmlReaderW wide;
    wide.setData(ztree::wide(text).getBuffer(), 0);
    expect(!wide.load(false, true) && wide.getRoot(), "wide");
    ZXmlFileW file;
    const zwchar* result = nullptr;
    file.start(&result, ZTEXT("order"), ZTEXT("order.dtd"));
    for (int i = 0; i < 20; ++i)
        file.writeStr(ZTEXT("name"), ZTEXT("a < b"));
    expect(file.finish() == 1 && result, "small writer");
}

void textRequest(Random& random, Shared&)
{
    ZString s;
    for (unsigned i = random.below(200); i-- > 0;) {
        s += "piece ";
        s += static_cast<int>(i);
    }
    ZString shared = s;
    shared += 'x';
    expect(shared.length() == s.length() + 1, "append");
    expect(ztree::toUtf8(ztree::wide(ztree::view(s))) == ztree::view(s), "there and back");
    ZTokenizer tokens(s.getBuffer(), " ", 0);
    while (tokens.hasMoreTokens())
        tokens.nextToken();
    ZAttribList list("id=\"7\" name='x' flag=on");
    for (unsigned i = 0; i < 40; ++i)
        list.setAttrib(("a" + std::to_string(i)).c_str(), "value");
    list.sort();
    expect(list.size() == 43 && std::strcmp(list.getAttrib("NAME"), "x") == 0, "attributes");
    expect(expression("(1+2)*3", -1).eval() == 9 && ztree::checkedEval("2*(3+4)").value == 14, "value");
    expect(ztree::checkedEval("1/0").error == ztree::ExprError::divisionByZero, "division by zero");
    const std::string deep = std::string(2000, '(') + "1" + std::string(2000, ')');
    expect(ztree::checkedEval(deep).value == 1, "deep expression");
}

struct Record {
    int number;
    double amount;
    char name[21];
};
struct Settings : varnik::ztree::csvBuffer {
    Settings()
    {
        using namespace varnik::ztree;
        const unsigned short order[] = {101, 102, 103};
        setParameter(csvParamDialect, csvDialectRfc);
        buildLocalFormat();
        setFieldOrder(order, 3);
        addFieldDefinition(ztree::fieldAt<csvInt>(101, offsetof(Record, number)));
        addFieldDefinition(ztree::fieldAt<csvAmount>(102, offsetof(Record, amount), 2 | csvFlagRaw));
        addFieldDefinition(ztree::fieldAt<csvField>(103, offsetof(Record, name), 21, csvFlagTerminated));
    }
};
unsigned addTo(void* out, const char* data, std::size_t bytes)
{
    static_cast<std::string*>(out)->append(data, bytes);
    return 0;
}
void csvRequest(Random& random, Shared&)
{
    const Settings settings;
    std::string text;
    ztree::CsvWriter writer(settings);
    writer.open(&addTo, &text);
    const int lines = static_cast<int>(random.below(100));
    for (int i = 0; i < lines; ++i) {
        const Record r = {i, i / 4.0, "name; \"quoted\""};
        writer.write(&r);
    }
    expect(writer.finish() == 0, "csv written");
    ztree::CsvReader reader(settings);
    reader.openText(text);
    Record r = {};
    int count = 0;
    while (reader.read(&r) > 0)
        expect(r.number == count++ && std::strcmp(r.name, "name; \"quoted\"") == 0, "csv read");
    expect(count == lines, "csv lines");
}

// What one thread puts in, either takes out.
void sharedRequest(Random& random, Shared& shared)
{
    for (int i = 0; i < 20; ++i) {
        shared.strings.add(new ZString(std::string(random.below(300), 's').c_str()));
        if (shared.strings.size() > 500 || random.below(2))
            delete static_cast<const ZString*>(shared.strings.remove(0));
        auto* object = new sharedObject;
        object->AddRef();
        shared.objects.add(object);
        object->Release();
        if (shared.objects.elements() > 500 || random.below(2))
            if (IUnknown* out = shared.objects.remove(0))
                out->Release();
    }
    shared.sorted.insert(new Item(random.below(1000)));
    if (shared.sorted.size() > 500)
        delete static_cast<const Item*>(shared.sorted.remove(static_cast<int>(random.below(500))));
    long length = 0;
    for (const ZString* s : ztree::ArrayView<const ZString>(shared.strings).snapshot())
        length += s != nullptr; // only counted: the other thread may have freed it
    expect(length < 2000, "snapshot");
}

[[gnu::noinline]] int readFrom(const volatile int* p)
{
    return *p;
}
void exceptionRequest(Random& random, Shared& shared)
{
    ZString kept("a text that has to be freed on the way out");
    kept += kept;
    try {
        ZArray array;
        array.setAt(static_cast<int>(random.below(100)), &kept);
        throw structExcept(ztree::errInvalidArg);
    } catch (const structExcept& e) {
        expect(e.getCode() == ztree::errInvalidArg, "code");
        if (random.below(50) == 0)
            e.dump(shared.log.useLog(), "request %u", random.below(1000));
    }
    void* const before = structExcept::install();
    try {
        readFrom(nullptr);
        expect(false, "no fault");
    } catch (const structExcept& e) {
        expect(e.getCode() == EXCEPTION_ACCESS_VIOLATION, "fault");
    }
    structExcept::uninstall(before);
}

void logRequest(Random& random, Shared& shared)
{
    for (int i = 0; i < 10; ++i)
        ztree::log(shared.log, logInfo, "request {} of {}: {:.2}", i, "a client", 1.5);
    shared.log.useLog()->sysMessageEntry(logWarning, "disk", 5);
    if (random.below(20) == 0)
        ztree::log(shared.log, logError, "{}", std::string(3000, 'e'));
}

using Request = void (*)(Random&, Shared&);
const Request requests[] = {xmlRequest,    smallXmlRequest,  textRequest, csvRequest,
                            sharedRequest, exceptionRequest, logRequest};

// --- the run ---
struct Moment {
    double resident;
    double needed; ///< resident without what the heap keeps idle, which has a ceiling of its own
    double inUse;
};

std::atomic<long> s_done{0};

void work(unsigned seed, Shared& shared, Clock::time_point end)
{
    Random random(seed);
    xmlRequestOf(5000, random); // in each turn, so that its memory belongs to every moment
    while (Clock::now() < end) {
        for (const Request request : requests) {
            try {
                request(random, shared);
            } catch (const structExcept& e) {
                std::fprintf(stderr, "soak: structExcept 0x%08X\n", e.getCode());
                ++s_wrong;
            }
            s_done.fetch_add(1, std::memory_order_relaxed);
        }
    }
}

Moment turn(unsigned number, const std::string& logFile, Clock::time_point end)
{
    {
        Shared shared;
        auto* log = new fileLog;
        log->AddRef();
        log->setLimit(1 << 20, 3);
        log->setFlushPolicy(number % 2 ? fileLog::flushEach : fileLog::flushBlocks);
        log->open(logFile.c_str());
        shared.log.setLog(log);
        shared.log.setLogLevel(logDebug);
        log->Release();
        std::thread other(work, 2 * number + 1, std::ref(shared), end);
        std::thread one(work, 2 * number + 2, std::ref(shared), end);
        one.join();
        other.join();
        for (int i = 0; i < shared.strings.size(); ++i)
            delete static_cast<const ZString*>(shared.strings.getAt(i));
    }
    const ztree::HeapUse heap = ztree::heapUse();
    const double resident = residentBytes();
    return {resident, resident - static_cast<double>(heap.idle), static_cast<double>(heap.inUse)};
}

bool isFlat(const char* what, const std::vector<Moment>& moments, std::size_t from, double Moment::*figure)
{
    if (moments.size() < from + 2) {
        std::printf("%s: no two moments to compare\n", what);
        return false;
    }
    const std::size_t middle = from + (moments.size() - from) / 2;
    double first = 0, last = 0;
    for (std::size_t i = from; i < moments.size(); ++i)
        (i < middle ? first : last) = std::max(i < middle ? first : last, moments[i].*figure);
    const bool flat = last <= first * 1.02 + (2 << 20);
    std::printf("%s: highest %.1f MB in the first half, %.1f MB in the second: %s\n", what, first / 1e6,
                last / 1e6, flat ? "flat" : "GROWING");
    return flat;
}

} // namespace

int main(int argc, char** argv)
{
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 600;
    const int warm = std::min(60, seconds / 3);
    const auto folder = std::filesystem::temp_directory_path() / "ztree_soak";
    std::filesystem::remove_all(folder);
    std::filesystem::create_directory(folder);
    const std::string logFile = (folder / "soak.log").string();

    const Clock::time_point start = Clock::now();
    const auto step = std::chrono::milliseconds(std::clamp(seconds * 1000 / 30, 250, 5000));
    const auto second = [&] { return std::chrono::duration<double>(Clock::now() - start).count(); };
    std::vector<Moment> moments;
    std::size_t from = 0;
    double told = 0;
    long toldDone = 0;
    for (unsigned number = 0; second() < seconds; ++number) {
        moments.push_back(turn(number, logFile, Clock::now() + step));
        if (second() < warm)
            from = moments.size();
        if (second() - told >= std::min(60, seconds / 4)) {
            const ztree::HeapUse heap = ztree::heapUse();
            std::printf("%6.0f s: %8.0f requests a minute, resident %6.1f MB, heap in use %5.2f MB, idle "
                        "%5.1f, on loan "
                        "%5.1f\n",
                        second(), static_cast<double>(s_done - toldDone) * 60 / (second() - told),
                        moments.back().resident / 1e6, static_cast<double>(heap.inUse) / 1e6,
                        static_cast<double>(heap.idle) / 1e6, static_cast<double>(heap.onLoan) / 1e6);
            std::fflush(stdout);
            told = second();
            toldDone = s_done;
        }
    }
    std::printf("%ld requests in %.0f s, %ld wrong answers\n", s_done.load(), second(), s_wrong.load());
    bool good = s_wrong == 0;
    good &= isFlat("resident, without idle memory of the heap", moments, from, &Moment::needed);
    good &= isFlat("heap in use", moments, from, &Moment::inUse);
    std::filesystem::remove_all(folder);
    return good ? 0 : 1;
}
