// Strings, helpers over raw characters, printing and scanning, tokenizers, attribute lists.

#include "growth.h"

#include <ztree/ext/attrib.h>
#include <ztree/ext/strings.h>
#include <ztree/print.h>

#include <sstream>

namespace growth {
namespace {

template <class T> void strings(Cases& add)
{
    using S = typename T::String;
    using Ch = typename T::Ch;
    add.group(std::string("ZString") + T::suffix);
    add("from a text", [](int n) {
        const auto t = filled<Ch>(n);
        return often([&] { keep(S(t.c_str())); });
    });
    add("append a character, n times", [](int n) {
        return once([&] {
            S s;
            for (int i = 0; i < n; ++i)
                s.append(Ch('x'));
        });
    });
    add("append 7 characters and a number, n times", [](int n) {
        const auto piece = text<Ch>("piece; ");
        return once([&] {
            S s;
            for (int i = 0; i < n; ++i) {
                s.append(piece.c_str(), 7);
                s += i;
            }
        });
    });
    add("append itself", [](int n) {
        const S s(filled<Ch>(n / 2).c_str());
        return often([&] {
            S twice(s);
            twice += twice;
            keep(twice);
        });
    });
    add("copy and write", [](int n) {
        const S s(filled<Ch>(n).c_str());
        return often([&] {
            S copy(s);
            copy.setAt(0, Ch('y'));
            keep(copy + s);
        });
    });
    add("indexOf and lastIndexOf what is not there", [](int n) {
        const S s(filled<Ch>(n).c_str());
        const auto word = text<Ch>("abcabcabd");
        return often([&] {
            keep(s.indexOf(Ch('x'), 0) + s.lastIndexOf(Ch('x')));
            keep(s.indexOf(word.c_str(), 0));
        });
    });
    add("indexOf a long text behind many beginnings", [](int n) {
        const S s(filled<Ch>(n, "a").c_str());
        const auto word = filled<Ch>(n / 2, "a") + text<Ch>("b");
        return often([&] { keep(s.indexOf(word.c_str(), 0)); });
    });
    add("ext: find a long text behind many beginnings", [](int n) {
        const S s(filled<Ch>(n, "a").c_str());
        const auto word = filled<Ch>(n / 2, "a") + text<Ch>("b");
        return often([&] { keep(ztree::find(s, word)); });
    });
    add("startsWith, substring, truncate", [](int n) {
        const auto t = filled<Ch>(n);
        const S s(t.c_str());
        return often([&] {
            keep(s.startsWith(t.c_str()));
            S part = s.substring(n / 4, n);
            part.truncate(n / 4, -1);
            keep(part);
        });
    });
    add("trim", [](int n) {
        const auto t = filled<Ch>(n / 3, " ") + filled<Ch>(n / 3) + filled<Ch>(n / 3, "\t");
        return often([&] {
            S s(t.c_str());
            s.trim(nullptr, 3);
            keep(s);
        });
    });
    add("remove and exchange", [](int n) {
        const auto t = filled<Ch>(n, "a,b;c d");
        const auto set = text<Ch>(",;"), other = text<Ch>("bd");
        return often([&] {
            S s(t.c_str());
            s.remove(set.c_str());
            s.exchange(other.c_str(), Ch('-'));
            keep(s);
        });
    });
    add("expand, toupper, tolower", [](int n) {
        return often([&] {
            S s;
            s.expand(n, Ch('a'));
            s.toupper();
            s.tolower();
            keep(s);
        });
    });
    add("sysAllocString, hash, stream", [](int n) {
        const S s(filled<Ch>(n).c_str());
        return often([&] {
            SysFreeString(s.sysAllocString());
            keep(std::hash<S>()(s));
            std::ostringstream out;
            out << s;
        });
    });
}

void conversions(Cases& add)
{
    add.group("conversion");
    for (const unsigned page : {65001u, 1251u, 932u, 54936u}) {
        add("to code page " + std::to_string(page) + " and back", [page](int n) {
            ZStringW s;
            for (int i = 0; i < n; ++i)
                s.append(static_cast<zwchar>(i % 3 ? 0x430 + i % 32 : 'a'));
            return often([&] {
                char* bytes = nullptr;
                int length = 0;
                s.convertTo(page, &bytes, &length);
                check(length >= n, "all is converted");
                keep(ZStringW(bytes, length, page).length());
                ZString narrow(bytes, length, page);
                ZString::freeDup(bytes);
                narrow.convertTo(65001);
                keep(narrow.characters());
            });
        });
    }
    add("text that is no UTF-8", [](int n) {
        const auto t = filled<char>(n, "\xC3\x28\xFF"
                                       "a\xF0\x9F");
        return often([&] { keep(ZStringW(t.data(), n, 65001).length()); });
    });
    add("toUtf8, wide, strDup", [](int n) {
        const auto t = filled<char>(n, "a\xC3\xA4");
        return often([&] {
            keep(ztree::toUtf8(ztree::wide(t)));
            ZString::freeDup(ZString::strDup(t.c_str(), 1252));
        });
    });
}

void helpers(Cases& add)
{
    add.group("helpers");
    add("numbers of many digits", [](int n) {
        const auto digits = filled<char>(n, "0123456789");
        const auto wide = filled<zwchar>(n, "0123456789abcdef");
        std::vector<char> room(n);
        return often([&] {
            unsigned long value = 0;
            keep(atoin(digits.c_str(), n) + xtoin(digits.c_str(), n) + wxtoin(wide.c_str(), n));
            keep(isNumeric(digits.c_str(), &value));
            keep(atox(digits.c_str(), n, room.data(), n, false));
        });
    });
    add("stradd", [](int n) {
        auto a = filled<char>(n, "9"), b = filled<char>(n, "9");
        return often([&] { keep(stradd(a.data(), n, b.data(), n)); });
    });
    add("memmem behind many beginnings", [](int n) {
        const auto t = filled<char>(n, "a"), word = filled<char>(n / 2, "a") + "b";
        return often([&] {
            keep(memmem(t.c_str(), static_cast<unsigned>(n), word.c_str(),
                        static_cast<unsigned>(word.size())));
            keep(memmem(t.c_str(), static_cast<unsigned>(n), "aba", 3U));
        });
    });
    add("lfWcschr, lfWcsstr", [](int n) {
        const auto t = filled<zwchar>(n, "aaa\n"), word = filled<zwchar>(n / 2, "aaa\n") + text<zwchar>("b");
        return often([&] {
            int lines = 0;
            keep(lfWcschr(t.c_str(), zwchar('x'), &lines));
            keep(lfWcsstr(t.c_str(), word.c_str(), &lines));
        });
    });
    add("strnupr, wcsnupr, isFilled, utf8Len, isSetAndEqual, qconv", [](int n) {
        const auto t = filled<char>(n, "x");
        const auto w = filled<zwchar>(n, "x");
        std::vector<char> out(n + 1);
        std::vector<zwchar> wide(n + 1);
        return often([&] {
            strnupr(t.c_str(), out.data(), n);
            wcsnupr(w.c_str(), wide.data(), n);
            keep(isFilled(t.c_str(), n, 'x') + isFilledW(w.c_str(), n, zwchar('x')));
            keep(utf8Len(t.c_str(), n) + utf8LenW(w.c_str(), n) + isSetAndEqual(t.c_str(), t.c_str(), -1));
            qconvA(w.c_str(), out.data());
            qconvW(t.c_str(), wide.data());
        });
    });
}

void printing(Cases& add)
{
    add.group("printing");
    add("a text of n characters, a format of n characters", [](int n) {
        const auto t = filled<char>(n);
        std::vector<char> out(2 * n + 1);
        return often([&] {
            keep(sprintfn(out.data(), 2 * n, 65001, "%s|%.*s", t.c_str(), n, t.c_str()));
            keep(sprintfn(out.data(), 2 * n, 65001, t.c_str()));
        });
    });
    add("width and precision of n", [](int n) {
        std::vector<char> out(4 * n + 1);
        return often([&] { keep(sprintfn(out.data(), 4 * n, 65001, "%*d%.*d%.*f", n, 7, n, 7, n, 0.1)); });
    });
    add("wide text into narrow and back", [](int n) {
        const auto t = filled<char>(n);
        const auto w = filled<zwchar>(n);
        const auto fmt = text<zwchar>("%hs");
        std::vector<char> out(n + 1);
        std::vector<zwchar> wide(n + 1);
        return often([&] {
            check(sprintfn(out.data(), n, 65001, "%ls", w.c_str()) == n - 1, "printed");
            check(swprintfn(wide.data(), n, 65001, fmt.c_str(), t.c_str()) == n - 1, "printed");
        });
    });
    add("scan n numbers out of one text, one a call", [](int n) {
        const std::string t = repeated(n, "` ");
        return once([&] {
            const char* at = t.c_str();
            for (int i = 0; i < n; ++i) {
                int value = -1, used = 0;
                scanfn(at, -1, "%d%n", &value, &used);
                check(value == i, "scanned");
                at += used;
            }
        });
    });
    add("scan one long field", [](int n) {
        const auto t = filled<char>(n, "12345");
        const std::string fmt = " %" + std::to_string(n) + "[0-9]";
        std::vector<char> out(n + 1);
        return often([&] {
            double value = 0;
            check(scanfn(t.c_str(), -1, fmt.c_str(), out.data()) == 1, "scanned");
            keep(scanfn(t.c_str(), n, "%lf", &value));
        });
    });
}

template <class T> void tokenizers(Cases& add)
{
    using Ch = typename T::Ch;
    using Tokenizer = typename T::Tokenizer;
    add.group(std::string("ZTokenizer") + T::suffix);
    const auto split = [](int n, std::string_view pattern, int mode, int tokens) {
        const auto t = filled<Ch>(n, pattern), seps = text<Ch>(" ,;");
        return once([&] {
            Tokenizer tokenizer(t.c_str(), seps.c_str(), mode);
            int count = 0;
            for (; tokenizer.hasMoreTokens(); ++count)
                tokenizer.nextToken();
            check(tokens < 0 || (count >= tokens - 1 && count <= tokens + 1), "tokens");
        });
    };
    add("short tokens", [=](int n) { return split(n, "ab, ;", 0, n / 5); });
    add("empty tokens", [=](int n) { return split(n, ",", 1, n); });
    add("delimiters alone", [=](int n) { return split(n, ",; ", 0, 0); });
    add("one long token", [=](int n) { return split(n, "x", 0, 1); });
    add("line ends", [=](int n) { return split(n, "a\r\n", 2, -1); });
    add("skip, separators of a call, copies", [](int n) {
        const auto t = filled<Ch>(n, "a--b=c;"), dash = text<Ch>("-"), other = text<Ch>("=;");
        return once([&] {
            Tokenizer tokenizer(t.c_str(), dash.c_str(), 0);
            while (tokenizer.hasMoreTokens()) {
                tokenizer.nextToken();
                tokenizer.skip(dash.c_str());
                tokenizer.nextToken(other.c_str());
            }
            keep(Tokenizer(tokenizer));
        });
    });
}

void otherTokens(Cases& add)
{
    add.group("tokens");
    add("ZTokenizerEx, and its pieces", [](int n) {
        const auto t = filled<char>(n, "ab,\r\n");
        return once([&] {
            ZString out;
            ZTokenizerEx tokens(t.data(), n, ",\r\n", 2);
            while (tokens.hasMoreTokens())
                tokens.nextToken(out, nullptr, -1);
            ZTokenizerEx pieces(t.data(), n, ",", 1);
            for (int i = 0; i < n; i += 16)
                pieces.getChunk(out, 16);
        });
    });
    add("ext: views", [](int n) {
        const auto t = filled<char>(n, "ab,;");
        return often([&] {
            std::size_t sum = 0;
            for (const std::string_view v : ztree::tokens(t, ",;", ztree::Empty::keep))
                sum += v.size();
            for (const std::string_view v : ztree::tokens(t, ",;"))
                sum += v.size();
            keep(sum);
        });
    });
}

template <class T> void attributes(Cases& add)
{
    using Ch = typename T::Ch;
    using List = typename T::List;
    add.group(std::string("attributes") + T::suffix);
    struct Form {
        const char* name;
        const char* pattern;
    };
    const Form forms[] = {{"n attributes", "name`=\"value\" "},
                          {"n with apostrophes and without quotes", "n`='v' m`=v "},
                          {"n names without values", "name "},
                          {"n equals signs", "="},
                          {"n quotes", "\""},
                          {"n open quotes", "a=\" "},
                          {"n open apostrophes", "a=' "},
                          {"n blanks", " "}};
    for (const Form& form : forms) {
        add(std::string("parse ") + form.name, [pattern = form.pattern](int n) {
            const auto t = text<Ch>(repeated(n, pattern));
            return once([&] { keep(List(t.c_str()).size()); });
        });
    }
    add("parse one of n characters", [](int n) {
        const auto t = text<Ch>("a=\"") + filled<Ch>(n) + text<Ch>("\"");
        return often([&] { keep(List(t.c_str()).size()); });
    });
    add("set n, get n, set n again", [](int n) {
        const auto all = names<Ch>(n);
        const auto value = text<Ch>("value");
        return once([&] {
            List list;
            for (const auto& name : all)
                list.setAttrib(name.c_str(), value.c_str());
            for (const auto& name : all)
                keep(list.getAttrib(name.c_str()));
            for (const auto& name : all)
                list.setAttrib(name.c_str(), name.c_str());
            check(list.size() == n, "set");
        });
    });
    add("add n of one name, and get it", [](int n) {
        const auto name = text<Ch>("name");
        return once([&] {
            List list;
            for (int i = 0; i < n; ++i) {
                list.addAttrib(name.c_str(), name.c_str());
                keep(list.getAttrib(name.c_str()));
            }
        });
    });
    add("add and look for what is not there, by turns", [](int n) {
        const auto all = names<Ch>(n);
        const auto absent = text<Ch>("absent");
        return once([&] {
            List list;
            for (const auto& name : all) {
                list.addAttrib(name.c_str(), nullptr);
                keep(list.getAttrib(absent.c_str()));
            }
        });
    });
    const auto fill = [](List& list, int n) {
        const auto value = text<Ch>("value");
        for (const int i : shuffled(n))
            list.addAttrib(text<Ch>("name" + std::to_string(i)).c_str(), value.c_str());
    };
    add("sort, then get n", [=](int n) {
        List list;
        fill(list, n);
        const auto all = names<Ch>(n);
        return once([&] {
            list.sort();
            for (const auto& name : all)
                check(list.getAttrib(name.c_str()) != nullptr, "found");
        });
    });
    add("texts of all by number", [=](int n) {
        List list;
        fill(list, n);
        return once([&] {
            for (int i = 0; i < n; ++i) {
                keep(list.elementAt(i));
                keep(list.nameAt(i));
                keep(list.dataAt(i));
            }
        });
    });
    add("remove n by name, last first", [](int n) {
        const auto all = names<Ch>(n);
        List list;
        for (const auto& name : all)
            list.addAttrib(name.c_str(), nullptr);
        return once([&] {
            for (int i = n; i-- > 0;)
                list.removeAttrib(all[i].c_str());
            check(list.size() == 0, "removed");
        });
    });
    add("remove one of n", [=](int n) {
        List list;
        fill(list, n);
        const auto name = text<Ch>("name0");
        return once([&] {
            list.removeAttrib(name.c_str());
            keep(list.getAttrib(name.c_str()));
        });
    });
    add("remove all", [=](int n) {
        List list;
        fill(list, n);
        return once([&] { list.removeAllAttribs(); });
    });
    add("one of n characters: set, save, load", [](int n) {
        const auto t = filled<Ch>(n);
        return often([&] {
            const typename T::Attrib one(t.c_str(), t.c_str());
            std::stringstream stream;
            one.save(stream);
            typename T::Attrib other(one);
            other.load(stream);
            keep(other.compare(&one));
        });
    });
}

} // namespace

void addText(Cases& add)
{
    strings<Narrow>(add);
    strings<Wide>(add);
    conversions(add);
    helpers(add);
    printing(add);
    tokenizers<Narrow>(add);
    tokenizers<Wide>(add);
    otherTokens(add);
    attributes<Narrow>(add);
    attributes<Wide>(add);
}

} // namespace growth
