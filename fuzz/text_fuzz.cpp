// Strings, helpers and their conversions on arbitrary bytes. The input is cut into a few parts by its first
// bytes; every operation runs on them, and what must hold for any text is checked.

#include <ztree/ext/strings.h>
#include <ztree/text.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

void require(bool holds)
{
    if (!holds)
        std::abort();
}

// Searches and edits of either string class against plain loops.
template <class S, class Ch>
void editing(const std::basic_string<Ch>& text, const std::basic_string<Ch>& other, int a, int b)
{
    using Text = std::basic_string<Ch>;
    const int n = static_cast<int>(text.size());
    S s;
    s.append(text.data(), n);
    require(s.length() == n);
    const auto now = [&] { return ztree::view(s); };

    int expected = -1;
    const Text pattern = other.substr(0, other.find(Ch{})); // what is terminated by its first zero
    for (std::size_t i = a < 0 ? text.size() : static_cast<std::size_t>(a), k = 0;
         i < text.size() && !pattern.empty(); ++i) {
        k = text[i] == pattern[k] ? k + 1 : 0;
        if (k == pattern.size()) {
            expected = static_cast<int>(i + 1 - k);
            break;
        }
    }
    require(s.indexOf(pattern.c_str(), a) == expected);
    require(s.lastIndexOf(static_cast<Ch>(b)) == static_cast<int>(text.rfind(static_cast<Ch>(b))));

    const S shared(s);
    const int trimmed = s.trim(other.c_str(), a);
    require(trimmed == n - s.length() && trimmed >= 0);
    s = shared;
    const int removed = s.remove(other.c_str());
    require(removed == n - s.length());
    for (Ch c : now())
        require(other.empty() || !other[0] || pattern.find(c) == Text::npos);
    s.exchange(other.c_str(), static_cast<Ch>(b));
    s.append(s.getBuffer(), s.length());
    s = s.substring(a, b);
    s.truncate(b, a);
    s.expand(b & 0xFFF, static_cast<Ch>(a));
    s.setAt(a, static_cast<Ch>(b));
    s.toupper();
    s.tolower();
    require(ztree::view(shared) == text); // untouched by all that
}

void conversions(const std::string& text, unsigned codepage)
{
    ZString s;
    s.set(text.data(), static_cast<int>(text.size()), codepage);
    s.characters();
    ZStringW w;
    if (w.convertFrom(codepage, text.data(), static_cast<int>(text.size())) != 0)
        require(w.length() == 0);
    w.convertFrom(codepage, text.c_str(), -1);
    char* bytes = nullptr;
    int n = 0;
    if (w.convertTo(65001, &bytes, &n) == 0 && bytes) {
        ZStringW again; // UTF-8 keeps everything but unpaired surrogates, which no code page yields
        require(again.convertFrom(65001, bytes, n) == 0 && ztree::equal(again, w));
    }
    ZString::freeDup(bytes);
    s.convertTo(65001);
    s.convertTo(codepage);
    ZString::freeDup(ZString::strDup(text.c_str(), codepage));
}

void helpers(const std::string& text, const std::string& other, int a)
{
    const int n = static_cast<int>(text.size());
    std::vector<char> out(text.size() + 1);
    const int written = atox(text.data(), n, out.data(), a % 64, a & 1);
    require(written <= n && (a % 64 <= 0 || written <= a % 64));
    atoin(text.data(), n);
    xtoin(text.data(), n);
    strnupr(text.data(), out.data(), n);
    isFilled(text.data(), n, ' ');
    isNumeric(text.c_str(), nullptr);
    isSetAndEqual(text.c_str(), other.c_str(), -1);
    isEmptyOrEqual(text.c_str(), other.c_str(), -1);
    utf8Len(text.data(), n);
    std::string field = text;
    stradd(&field[0], n, other.data(), static_cast<int>(other.size()));

    const char* expected = other.empty() ? text.data() : nullptr;
    for (std::size_t i = 0; !other.empty() && i + other.size() <= text.size(); ++i) {
        if (text[i] != other[0])
            continue;
        if (text.compare(i, other.size(), other) == 0) {
            expected = text.data() + i;
            break;
        }
        ++i;
    }
    require(memmem(text.data(), text.size(), other.data(), other.size()) == expected);

    std::vector<zwchar> wide(std::strlen(text.c_str()) + 1), sub(std::strlen(other.c_str()) + 1);
    qconvW(text.c_str(), wide.data());
    qconvW(other.c_str(), sub.data());
    int lines = 0;
    const std::basic_string<zwchar> whole = wide.data();
    const std::size_t at = sub[0] ? whole.find(sub.data()) : std::string::npos;
    const zwchar* hit = lfWcsstr(wide.data(), sub.data(), &lines);
    require(hit == (at == std::string::npos ? nullptr : wide.data() + at));
    require(std::strcmp(qconvA(wide.data(), out.data()), text.c_str()) == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size < 4)
        return 0;
    const unsigned pages[] = {65001, 1252, 0, 932, 437, 99999};
    const int a = data[0] - 128, b = data[1];
    const std::string rest(reinterpret_cast<const char*>(data) + 4, size - 4);
    const std::size_t cut = rest.empty() ? 0 : data[3] % (rest.size() + 1);
    const std::string other = rest.substr(0, cut), text = rest.substr(cut);
    editing<ZString>(text, other, a, b);
    editing<ZStringW>(std::basic_string<zwchar>(text.begin(), text.end()),
                      std::basic_string<zwchar>(other.begin(), other.end()), a, b);
    conversions(text, pages[data[2] % 6]);
    helpers(text, other, a);
    return 0;
}
