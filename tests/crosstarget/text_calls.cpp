// Strings, conversions, print, helpers, log texts, expressions, dumps.

#include "crosstarget/calls.h"
#include "log/support.h"
#include "text/print_random.h"

#include <ztree/expression.h>
#include <ztree/ext/expression.h>
#include <ztree/ext/log.h>
#include <ztree/helpers.h>
#include <ztree/print.h>

namespace crosstarget {
namespace {

// How strings are edited the model in tests/text says, on every target.
void strings(Calls& c, Random& r)
{
    const std::string text = r.text(mixed, 20), other = r.text(mixed, 3);
    const Wide wide = widened(other);
    const int n = r.number();
    ZString s = ztree::narrow(text, r.oneIn(2) ? 65001 : 1252);
    ZStringW w = ztree::wide(text);
    Call{c, "upper", s.toupper(), w.toupper(), s, w};
    Call{c, "lower", s.tolower(), w.tolower(), s, w};
    Call{c, "format", s.format("%d|%s|%-8.5S|%c", n, text.c_str(), wide.c_str(), 'x'), s};
    Call{c, "format", w.format(ZTEXT("%d|%S|%-8.5s|%c"), n, text.c_str(), wide.c_str(), 'x'), w};
    w = n;
    w += text.c_str();
    Call{c, "append", w};
    w = text.c_str();
    Call{c, "set", w};
}

// Double-byte pages only with characters that they have: what stands for a character or a byte that such a
// page lacks is the choice of the system's own converter.
void conversions(Calls& c, Random& r)
{
    static const unsigned pages[] = {65001, 0, 1252, 1251, 1250, 437, 850, 866, 1258, 28591, 28605, 12345};
    static const unsigned doubles[] = {932, 936, 949, 950};
    static const std::string_view common[] = {"a", "7", "\xE4\xB8\xAD", " ", "\xE5\xA4\xA7"};
    const unsigned page = r.pick(pages), to = r.pick(pages), pair = r.pick(doubles);
    std::string text = r.text(mixed, 12);
    for (char& ch : text)
        if (r.oneIn(4))
            ch = static_cast<char>(r.next());
    const int room = r.below(40);
    ZString s = ztree::narrow(text, page), known = ztree::narrow(r.text(common, 8));
    ZStringW w;
    Call{c, "characters", page, text, s.characters()};
    Call{c, "from", w.convertFrom(page, text.c_str(), -1), w};
    Call{c, "from", w.convertFrom(page, text.data(), static_cast<int>(text.size())), w};
    const int at = r.below(16), unit = r.number();
    w.setAt(at, static_cast<zwchar>(unit));
    char buffer[40] = {};
    Call{c, "to", to, w.convertTo(to, buffer, room), std::string_view(buffer, sizeof buffer)};
    char* out = nullptr;
    int length = -1;
    Call{c, "to", w.convertTo(to, &out, &length), length, out};
    ZString::freeDup(out);
    Call{c, "convert", s.convertTo(to), s, s.getCodepage()};
    Call{c, "set", s.set(w.getBuffer(), w.length(), page), s};
    Call{c, "pair", pair, known.convertTo(pair), known};
    Call{c, "back", known.convertTo(65001), known};
}

// Not here: the length l, which is the target's long, z t I, and p.
void print(Calls& c, Random& r)
{
    static const char* const narrows[] = {"%s", "%.3s", "[%8s]", "%-7.2s|", "%%%s", "%hs", "%q%s"};
    static const char* const wides[] = {"%S", "%.3S", "[%8S]", "%-7.2S|", "%%%S", "%ls", "%q%S"};
    static const unsigned pages[] = {65001, 0, 1252, 866, 12345};
    static const std::string_view numbers[] = {"0", "17", "123456789", "-", " ",
                                               ".", "e",  "x",         "F", "4294967296"};
    const PrintCase p = PrintCases(r.next()).next();
    const int limit = r.below(10) ? r.between(1, 60) : 900, shape = r.below(7), code = r.number() & 0x1FFFFF;
    const unsigned page = r.pick(pages);
    const std::string text = r.text(mixed, 8), fields = r.text(numbers, 8);
    const Wide wideText = widened(text), wideFmt = widened(p.fmt), wideWides = widened(wides[shape]);
    char s[900] = {};
    zwchar w[900] = {};
    int n = callWith(p, [&](auto... v) { return sprintfn(s, limit, 65001, p.fmt.c_str(), v...); });
    Call{c, "narrow", p.fmt, p.number, p.value, limit, n, s};
    n = callWith(p, [&](auto... v) { return swprintfn(w, limit, 65001, wideFmt.c_str(), v...); });
    Call{c, "wide", n, w};
    Call{c, "text", page, text, sprintfn(s, limit, page, narrows[shape], text.c_str()), s};
    Call{c, "text", wides[shape], sprintfn(s, limit, page, wides[shape], wideText.c_str()), s};
    if (shape != 5) // %ls is wide in both
        Call{c, "text", swprintfn(w, limit, page, wideWides.c_str(), text.c_str()), w};
    Call{c, "c", code, swprintfn(w, 20, page, ZTEXT("%c|%5C|%hc"), code, code & 0xFF, code & 0x7F), w};
    int i = 0, end = -1;
    short h = 0;
    long long l = 0;
    double d = 0;
    Call{c, "scan", fields, scanfn(fields.data(), 20, "%4i%hd%n %lf", &i, &h, &end, &d), i, h, end, d};
    Call{c, "scan", scanfn(fields.c_str(), -1, "%lld%9s%9[0-9.]", &l, s, w),
         l, s,      reinterpret_cast<char*>(w)};
}

void helpers(Calls& c, Random& r)
{
    static const std::string_view digits[] = {"0", "9", "aF", "7c", "-", " ", "g", "42", "\n", "\xE4", "E"};
    const std::string text = r.text(digits, 16), other = r.text(digits, 2);
    const Wide wide = widened(text), sub = widened(other);
    const int n = static_cast<int>(text.size()), size = r.below(12);
    char out[64] = {};
    zwchar wideOut[64] = {};
    unsigned long value = 0;
    int lines = -1;
    Call{c, "atox", text, size, atox(text.data(), n, out, size, n & 1), std::string_view(out, sizeof out)};
    Call{c, "numbers", atoin(text.data(), n), xtoin(text.data(), n), wxtoin(wide.c_str(), size)};
    const char* const found = memmem(text.data(), text.size(), other.data(), other.size());
    Call{c, "memmem", other, found ? static_cast<int>(found - text.data()) : -1};
    Call{c, "strnupr", strnupr(text.data(), out, n), std::string_view(out, sizeof out)};
    Call{c, "wcsnupr", wcsnupr(wide.c_str(), wideOut, static_cast<int>(wide.size())), wideOut};
    Call{c, "isFilled", isFilled(text.data(), n, ' '), isFilledW(wide.c_str(), size, '0')};
    Call{c, "isNumeric", isNumeric(other.c_str(), &value), static_cast<std::uint32_t>(value)};
    Call{c, "equal", isSetAndEqual(text.c_str(), other.c_str(), size % 3),
         isEmptyOrEqual(text.c_str(), other.c_str(), -1)};
    std::string sum = text;
    Call{c, "stradd", stradd(sum.data(), n, other.data(), static_cast<int>(other.size())), sum};
    Call{c, "utf8Len", utf8Len(text.data(), n), utf8LenW(wide.c_str(), size)};
    const zwchar* const hit = lfWcsstr(wide.c_str(), sub.c_str(), &lines);
    Call{c, "lfWcsstr", hit ? static_cast<int>(hit - wide.c_str()) : -1, lines};
    Call{c, "qconv", qconvA(wide.c_str(), out), qconvW(text.c_str(), wideOut)};
}

void logTexts(Calls& c, Random& r)
{
    static const std::string_view patterns[] = {"{}", "{:x}", "{:.3}", "{{", "}}", "{", "}", "text", "{:q}"};
    static const std::string_view names[] = {"error", "Debug", "DB", "net", "+", ",", "|", " ", "x"};
    static const tagLogMode modes[] = {{1, ZTEXT("db"), ZTEXT("")}, {6, ZTEXT("NET"), nullptr}};
    TextLog log;
    log.AddRef();
    const int level = r.below(23), bits = r.below(8);
    const unsigned entry = static_cast<unsigned>(level) | static_cast<unsigned>(bits) << 29;
    const std::string text = r.text(mixed, 10), pattern = r.text(patterns, 7);
    const Wide list = widened(r.text(names, 3));
    const int number = r.number();
    const double real = r.real();
    log.setFlags(r.oneIn(8));
    if (r.oneIn(2))
        log.setHint(text.substr(0, 5).c_str());
    Call{c, "entry", entry, log.writelnEntry(entry, text.data(), static_cast<int>(text.size())), log.take()};
    Call{c, "printf", log.printfEntry(entry, "%d %s %g", number, text.c_str(), real), log.take()};
    structExcept(static_cast<unsigned>(number)).dump(&log, "%s", text.c_str());
    Call{c, "dump", log.take()};
    char line[600];
    const std::size_t n = ztree::logText(line, sizeof line, pattern, number, real, text, true);
    Call{c, "logText", pattern, std::string_view(line, n)};
    logClient client;
    client.setLogModeList(modes, 2);
    zulong set = 0;
    unsigned char reached = 0;
    Call{c, "modes", client.setLogModesString(list.c_str()), client.getLogModes(&set), set};
    Call{c, "level", client.setLogLevelString(list.c_str()), client.getLogLevel(&reached), reached};
}

void expressions(Calls& c, Random& r)
{
    static const std::string_view pieces[] = {"1", "27", "0x1F", "+",  "-", "*", "/", "%", "&&", "||", "&",
                                              "^", "!=", "[",    "]=", "(", ")", " ", "!", "~",  "=="};
    const std::string text = r.text(pieces, 12);
    const expression e(text.c_str());
    expression left, right;
    expression::oper op = expression::opNone;
    Call{c, "eval", text, e.eval()};
    Call{c,
         "split",
         e.split(left, right, &op),
         op,
         expression::getText(op),
         left.getLength(),
         right.getLength()};
    Call{c, "oper", expression::getOper(text.c_str())};
    const ztree::ExprResult checked = ztree::checkedEval(text);
    Call{c, "checked", checked.value, ztree::exprErrorText(checked.error),
         static_cast<int>(checked.position)};
}

void dumps(Calls& c, Random& r)
{
    unsigned char data[40], line[80] = {};
    for (unsigned char& b : data)
        b = static_cast<unsigned char>(r.next());
    const auto address = static_cast<std::uint32_t>(r.next()),
               length = static_cast<std::uint32_t>(r.below(41));
    const auto size = static_cast<unsigned>(r.between(60, 80));
    Call{c,
         "line",
         address,
         length,
         size,
         formatDump(address, data, length, line, size),
         reinterpret_cast<char*>(line)};
    Call{c, "size", dumpSize(address >> 12)};
}

} // namespace

const std::vector<Group> textGroups = {{"strings", &strings, 1500},  {"conversions", &conversions, 1000},
                                       {"print", &print, 1500},      {"helpers", &helpers, 600},
                                       {"logTexts", &logTexts, 700}, {"expressions", &expressions, 1500},
                                       {"dumps", &dumps, 2000}};

} // namespace crosstarget
