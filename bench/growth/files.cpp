// Delimited text, expressions, dumps, logs.

#include "growth.h"

#include <ztree/expression.h>
#include <ztree/ext/csv.h>
#include <ztree/ext/expression.h>
#include <ztree/ext/log.h>
#include <ztree/helpers.h>

#include <algorithm>
#include <cstddef>

namespace growth {
namespace {

using namespace varnik::ztree;

// --- delimited text ---
struct Record {
    int number;
    char name[21];
};
struct Settings : csvBuffer {
    explicit Settings(unsigned short dialect, unsigned short quote = 0, unsigned short escape = 0)
    {
        const unsigned short order[] = {101, 102};
        setParameter(csvParamDialect, dialect);
        setParameter(csvParamQuote, quote);
        setParameter(csvParamEscape, escape);
        setFieldOrder(order, 2);
        addFieldDefinition(ztree::fieldAt<csvInt>(101, offsetof(Record, number)));
        addFieldDefinition(ztree::fieldAt<csvField>(102, offsetof(Record, name), 21, csvFlagTerminated));
    }
};
struct CsvText {
    const char* name;
    const char* head;
    const char* item;
    const char* tail;
};
const CsvText csvTexts[] = {
    {"lines", "", "`;name\r\n", ""},          {"empty lines", "", "\n", ""},
    {"columns in a line", "1;", "x;", "\n"},  {"empty columns", "", ";", "\n"},
    {"one long column", "1;", "text ", "\n"}, {"one long quoted column", "1;\"", "a;\"\"\n", "\"\n"},
    {"open quotes", "1;", "\"a\n", ""},       {"stray quotes", "1;", "a\" ", "\n"},
    {"escapes", "1;", "\\;%3B", "\n"}};

unsigned addTo(void* out, const char* data, std::size_t bytes)
{
    static_cast<std::string*>(out)->append(data, bytes);
    return 0;
}

// Few bytes a call, as they come through a pipe or a socket.
unsigned fewBytes(void* text, char* to, std::size_t room, std::size_t* got)
{
    auto& left = *static_cast<std::string_view*>(text);
    *got = left.copy(to, std::min<std::size_t>(room, 500));
    left.remove_prefix(*got);
    return 0;
}

void delimited(Cases& add)
{
    for (const CsvText& t : csvTexts) {
        const auto document = [&t](int n) { return t.head + repeated(n, t.item) + t.tail; };
        add.group("csvBuffer");
        for (unsigned short escape = 0; escape < 3; ++escape) {
            add(std::string(t.name) + ", escape " + std::to_string(escape), [=](int n) {
                const std::string bytes = document(n);
                return once([&] {
                    Settings buffer(csvDialectLines, 1, escape);
                    Record record = {};
                    buffer.setData(bytes.data(), static_cast<int>(bytes.size()), 65001);
                    while (buffer.hasMoreLines())
                        buffer.scanLine(&record);
                });
            });
        }
        add(std::string(t.name) + ", RFC", [=](int n) {
            const std::string bytes = document(n);
            return once([&] {
                Settings buffer(csvDialectRfc);
                Record record = {};
                buffer.setData(bytes.data(), static_cast<int>(bytes.size()), 65001);
                buffer.scanBuffer(&record);
                buffer.setData(ZStringW(bytes.data(), static_cast<int>(bytes.size()), 65001).getBuffer());
                ZStringW column;
                while (buffer.hasMoreFields())
                    buffer.scanField(nullptr, column);
            });
        });
        add.group("CsvReader");
        for (const csvDialect dialect : {csvDialectLines, csvDialectRfc}) {
            add(std::string(t.name) + ", dialect " + std::to_string(dialect), [=](int n) {
                const std::string bytes = document(n);
                return once([&] {
                    const Settings settings(dialect, 1, 1);
                    ztree::CsvReader reader(settings);
                    unsigned errors = 0;
                    auto count = [&](const ztree::CsvError&) { return ++errors != 0; };
                    reader.onError(count);
                    reader.openText(bytes);
                    Record record = {};
                    while (reader.read(&record) > 0)
                        keep(record);
                    std::string_view left = bytes;
                    reader.open(&fewBytes, &left);
                    reader.readHeader();
                    check(reader.readColumns() >= 0 || errors, "read");
                });
            });
        }
    }
    add.group("CsvReader");
    add(
        "n bound columns",
        [](int n) {
            const auto all = names<char>(n);
            std::string bytes;
            for (const auto& name : all)
                bytes += name + ";";
            bytes += "\n" + repeated(n, "`;") + "\n";
            return once([&] {
                csvBuffer settings;
                settings.setParameter(csvParamDialect, csvDialectRfc);
                for (int i = 0; i < n; ++i) {
                    const auto id = static_cast<unsigned short>(i + 100);
                    check(settings.addFieldOrder(&id, 1) == 0, "order");
                    check(settings.addFieldDefinition(ztree::fieldAt<csvInt>(id, 0)) == 0, "definition");
                }
                ztree::CsvReader reader(settings);
                for (int i = 0; i < n; ++i)
                    check(reader.bind(static_cast<unsigned short>(i + 100), all[i]) == 0, "bound");
                reader.openText(bytes);
                check(reader.readHeader() == 1, "all names");
                int record = 0;
                check(reader.read(&record) == 1 && record == n - 1, "read");
            });
        },
        64'000);
    add.group("csvBuffer");
    add(
        "field order and definitions",
        [](int n) {
            return once([&] {
                csvBuffer buffer;
                for (int i = 0; i < n; ++i) {
                    const auto id = static_cast<unsigned short>(i + 100);
                    check(buffer.addFieldOrder(&id, 1) == 0, "order");
                    check(buffer.addFieldDefinition(ztree::fieldAt<csvInt>(id, 0)) == 0, "definition");
                }
                int value = 7;
                ZString line;
                check(buffer.createLine(line, &value) >= 0 && line.length() >= 2 * n - 1, "a line");
                keep(csvBuffer(buffer));
            });
        },
        64'000);
    add("write a column of n characters", [](int n) {
        const auto value = filled<char>(n, "a\"; \\");
        return once([&] {
            for (const csvDialect dialect : {csvDialectLines, csvDialectRfc}) {
                csvBuffer buffer;
                const unsigned short id = 101;
                buffer.setParameter(csvParamDialect, dialect);
                buffer.setParameter(csvParamQuote, 1);
                buffer.setParameter(csvParamEscape, 1);
                buffer.setFieldOrder(&id, 1);
                buffer.addFieldDefinition(ztree::fieldAt<csvField>(id, 0, static_cast<unsigned>(n), 0));
                ZString line;
                check(buffer.createLine(line, value.data()) >= 0 && line.length() >= n, "a line");
            }
        });
    });
    add.group("CsvWriter");
    add("n lines, n columns, one long column", [](int n) {
        const auto value = filled<char>(n, "a\";");
        const std::vector<std::string_view> columns(n, "column");
        return once([&] {
            const Settings settings(csvDialectRfc);
            std::string out;
            ztree::CsvWriter writer(settings);
            writer.open(&addTo, &out);
            const Record record = {7, "name"};
            for (int i = 0; i < n; ++i)
                writer.write(&record);
            writer.writeTexts(columns.data(), n);
            const std::string_view one = value;
            writer.writeTexts(&one, 1);
            check(writer.finish() == 0 && static_cast<int>(out.size()) > 10 * n, "written");
        });
    });
}

// --- expressions ---
void expressions(Cases& add)
{
    struct Form {
        const char* name;
        const char* open;
        const char* middle;
        const char* close;
    };
    static const Form forms[] = {{"sums", "1+", "1", ""},
                                 {"products and sums", "1*2+", "1", ""},
                                 {"comparisons", "1==1&&", "1", ""},
                                 {"all levels", "1|2^3&4+5*", "1", ""},
                                 {"nested to the right", "(1+", "1", ")"},
                                 {"nested to the left", "(", "1", "+1)"},
                                 {"parentheses alone", "(", "", ")"},
                                 {"open parentheses", "(", "1", ""},
                                 {"closing parentheses", "", "1", ")"},
                                 {"minus signs", "-", "1", ""},
                                 {"negations", "!~", "1", ""},
                                 {"digits", "0", "1", ""},
                                 {"blanks", " ", "1", " "},
                                 {"ampersands", "&", "", ""},
                                 {"brackets", "1[", "1", ""}};
    for (const Form& f : forms) {
        add.group("expression");
        add(f.name, [&f](int n) {
            const std::string t = repeated(n, f.open) + f.middle + repeated(n, f.close);
            return once([&] { keep(expression(t.data(), static_cast<int>(t.size())).eval()); });
        });
        add(std::string("ext: ") + f.name, [&f](int n) {
            const std::string t = repeated(n, f.open) + f.middle + repeated(n, f.close);
            return once([&] { keep(ztree::checkedEval(t)); });
        });
    }
    add.group("expression");
    add("split", [](int n) {
        const std::string t = repeated(n, "(1)*2") + "-1";
        return often([&] {
            expression left, right;
            check(expression(t.data(), static_cast<int>(t.size())).split(left, right, nullptr) > 0, "split");
        });
    });
}

// --- logs ---
/// Takes all and keeps nothing.
class NoLog : public mcwLog {
protected:
    HRESULT output(unsigned, const char* text, std::size_t length) override
    {
        keep(text[length - 1]);
        return 0;
    }
};

void logs(Cases& add)
{
    add.group("log");
    const auto with = [&add](const char* name, auto act) {
        add(name, [act](int n) {
            const auto t = filled<char>(n, "log\n");
            NoLog log;
            log.AddRef();
            return often([&] { act(log, t, n); });
        });
    };
    using Text = const std::string&;
    with("an entry of n characters", [](mcwLog& log, Text t, int) {
        log.writelnEntry(logInfo, t.c_str(), -1);
        log.write(t.c_str(), -1);
        log.setHint(t.c_str());
    });
    with("printf with n characters",
         [](mcwLog& log, Text t, int) { log.printfEntry(logInfo, "<%s>", t.c_str()); });
    with("a system message behind n characters",
         [](mcwLog& log, Text t, int) { log.sysMessageEntry(logInfo, t.c_str(), 2); });
    with("a dump of n bytes",
         [](mcwLog& log, Text t, int n) { log.hexDump(logInfo, t.data(), static_cast<unsigned long>(n)); });
    add("a dump line by line", [](int n) {
        const auto t = filled<char>(n, "\1ab");
        unsigned char line[66];
        return often([&] {
            for (int at = 0; at < n;)
                at += formatDump(static_cast<unsigned long>(at),
                                 reinterpret_cast<const unsigned char*>(t.data()) + at,
                                 static_cast<unsigned>(n - at), line, sizeof line);
        });
    });
    add("ext: patterns of n places, of n braces, arguments of n characters", [](int n) {
        const auto places = repeated(n, "{} "), braces = repeated(n, "{"), closed = repeated(n, "{:9");
        const auto t = filled<char>(n);
        NoLog log;
        log.AddRef();
        logClient client;
        client.setLogLevel(logDebug);
        client.setLog(&log);
        const double took = often([&] {
            ztree::log(client, logInfo, places, 1, t, 2.5);
            ztree::log(client, logInfo, braces, 1);
            ztree::log(client, logInfo, closed, 1);
        });
        client.setLog(nullptr);
        return took;
    });
    add("mode lists of n rows, one by one; n mode names", [](int n) {
        std::vector<tagLogMode> rows(n);
        const auto all = names<zwchar>(n);
        for (int i = 0; i < n; ++i)
            rows[i] = {1, all[i].c_str(), all[i].c_str()};
        const auto modes = text<zwchar>(repeated(n, "name0,"));
        return once([&] {
            logClient client;
            client.setLogModeList(rows.data(), n);
            client.setLogModesString(modes.c_str());
            logClient other;
            for (const tagLogMode& row : rows)
                other.addLogModeList(&row, 1);
        });
    });
}

} // namespace

void addFiles(Cases& add)
{
    delimited(add);
    expressions(add);
    logs(add);
}

} // namespace growth
