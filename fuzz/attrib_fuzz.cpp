// Tokenizers and attribute lists against their plain steps, attributes from streams.
// Input: two bytes of modes, then three texts that end at a zero byte: separators, delimiters, the text (the
// last one may hold zeros).

#include "../tests/attrib/models.h"

#include <ztree/ext/attrib.h>

#include <cstdlib>
#include <sstream>

namespace {

void demand(bool holds)
{
    if (!holds)
        std::abort();
}

// Calls alternate between the separator list and the delimiters of their own.
template <class Ch, class Next>
void compareTokens(TokenizerModel<Ch>& model, const Text<Ch>& delims, int mode, Next next)
{
    for (int i = 0; model.hasMore() && i < 1000; ++i) {
        const bool given = i & 1;
        const auto expected =
            model.next(given ? std::optional<Text<Ch>>(delims) : std::nullopt, given ? mode : -1);
        next(given ? delims.c_str() : nullptr, given ? mode : -1, expected);
    }
}

template <class Tokenizer, class Ch>
void checkTokenizer(const Text<Ch>& text, const Text<Ch>& seps, const Text<Ch>& delims, int mode, int other)
{
    Tokenizer real(text.c_str(), seps.c_str(), mode);
    TokenizerModel<Ch> model;
    model.init(text.c_str(), seps, mode);
    compareTokens<Ch>(model, delims, other, [&](const Ch* d, int m, const auto& expected) {
        demand(real.hasMoreTokens());
        const Ch* token = real.nextToken(d, m);
        demand(token && Text<Ch>(token) == *expected && real.lastSplit() == model.lastSplit);
    });
    demand(real.hasMoreTokens() == model.hasMore());
}

void checkTokenizerEx(const std::string& text, const std::string& seps, const std::string& delims, int mode,
                      int other)
{
    // Without a terminator behind: whatever reads there is found.
    const std::unique_ptr<char[]> copy(new char[text.size()]);
    text.copy(copy.get(), text.size());
    ZTokenizerEx real(copy.get(), static_cast<int>(text.size()), seps.c_str(), mode);
    TokenizerModel<char> model;
    model.strict = true;
    model.init(text, seps, mode);
    ZString out;
    compareTokens<char>(model, delims, other, [&](const char* d, int m, const auto& expected) {
        demand(real.nextToken(out, d, m) && real.lastSplit() == model.lastSplit);
        demand(std::string(out.length() ? out.getBuffer() : "", static_cast<std::size_t>(out.length())) ==
               *expected);
        demand(model.chunk(1) == real.getChunk(out, 1) || text.find('\0') != text.npos);
    });
    demand(real.hasMoreTokens() == model.hasMore());
}

// Tokens as views: none is lost, and the ones that are skipped are the empty ones.
template <class Ch> void checkViews(const Text<Ch>& text, const Text<Ch>& delims)
{
    Text<Ch> joined, filled;
    for (const auto token : ztree::tokens(text, delims, ztree::Empty::keep)) {
        demand(token.find_first_of(delims) == token.npos);
        const std::size_t end = static_cast<std::size_t>(token.data() - text.data()) + token.size();
        joined.append(token).append(text, end, 1);
        filled.append(token);
    }
    demand(joined == text);
    for (const auto token : ztree::tokens(text, delims, ztree::Empty::skip)) {
        demand(!token.empty() && filled.compare(0, token.size(), token) == 0);
        filled.erase(0, token.size());
    }
    demand(filled.empty());
}

template <class List, class Ch> void checkList(const Text<Ch>& text)
{
    List real(text.c_str());
    ListModel<Ch> model;
    demand(real.size() == model.parse(text.c_str()) && model.equals(real));
    real.sort();
    model.sort();
    demand(model.equals(real));
    for (int i = 0; i < real.size() && i < 100; ++i) {
        const int found = real.nameAt(i) ? model.find(real.nameAt(i)) : -1;
        const Ch* value = real.getAttrib(real.nameAt(i));
        demand(found < 0 ? !value : value && model.at(found)->value == value);
    }
}

template <class Attrib> void checkStream(const std::string& bytes)
{
    Attrib first, second;
    std::istringstream in(bytes);
    first.load(in);
    second.load(in);
    std::stringstream out;
    first.save(out);
    second.load(out);
    demand(second.compare(&first) == 0 || !first.getName());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size)
{
    if (size < 2)
        return 0;
    const std::string all(reinterpret_cast<const char*>(data) + 2, size - 2);
    const std::string seps = all.c_str();
    const std::string delims = seps.size() < all.size() ? all.substr(seps.size() + 1).c_str() : "";
    const std::size_t used = seps.size() + delims.size() + 2;
    const std::string text = used < all.size() ? all.substr(used) : all;
    const int mode = data[0] & 11, other = data[1] & 11;
    checkTokenizer<ZTokenizer, char>(text, seps, delims, mode, other);
    checkTokenizerEx(text, seps, delims, mode, other);
    auto wide = [](const std::string& s) { // pairs of bytes, so that every unit occurs
        Text<zwchar> w;
        for (std::size_t i = 0; i < s.size(); i += 2)
            w += static_cast<zwchar>(static_cast<unsigned char>(s[i]) |
                                     (i + 1 < s.size() ? static_cast<unsigned char>(s[i + 1]) << 8 : 0));
        return w;
    };
    checkViews(text, delims);
    checkViews(wide(text), wide(delims));
    checkTokenizer<ZTokenizerW, zwchar>(wide(text), wide(seps).c_str(), wide(delims).c_str(), mode, other);
    checkList<ZAttribList, char>(text);
    const Text<zwchar> ascii = [&text] {
        Text<zwchar> w;
        for (const char c : text)
            w += static_cast<zwchar>(c & 127);
        return w;
    }();
    checkList<ZAttribWList, zwchar>(ascii);
    checkStream<ZAttrib>(text);
    checkStream<ZAttribW>(text);
    return 0;
}
