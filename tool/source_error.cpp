#include "tool/source_error.h"

#include "tool/characters.h"

#include <ztree/ext/strings.h>

#include <algorithm>
#include <cstring>

namespace tool {

namespace {

std::string asUtf8(std::string_view bytes)
{
    const bool little = bytes.substr(0, 2) == "\xFF\xFE";
    if (!little && bytes.substr(0, 2) != "\xFE\xFF")
        return std::string(bytes);
    std::u16string units;
    for (std::size_t i = 2; i + 1 < bytes.size(); i += 2) {
        const unsigned a = static_cast<unsigned char>(bytes[i]);
        const unsigned b = static_cast<unsigned char>(bytes[i + 1]);
        units += static_cast<char16_t>(little ? a | b << 8 : b | a << 8);
    }
    return ztree::toUtf8(ztree::wide(std::u16string_view(units)));
}

// Line n of the text without its end; lines end with LF, CR LF or CR.
std::string_view lineOf(std::string_view text, std::size_t n)
{
    std::size_t at = text.substr(0, 3) == "\xEF\xBB\xBF" ? 3 : 0;
    for (;; --n) {
        const std::size_t end = std::min(text.find_first_of("\r\n", at), text.size());
        if (n <= 1 || end == text.size())
            return text.substr(at, n <= 1 ? end - at : 0);
        at = end + (text.substr(end, 2) == "\r\n" ? 2 : 1);
    }
}

// ASCII that stands for itself whatever surrounds it.
constexpr struct PlainText {
    bool is[256] = {};
    constexpr PlainText()
    {
        for (int c = 0x20; c < 0x7F; ++c)
            is[c] = c != '\\';
    }
} plainText;

constexpr std::size_t widest = 100; // characters of a line shown whole
constexpr std::size_t before = 60;  // characters shown before the caret in a longer one
constexpr std::size_t shown = 90;

} // namespace

std::string sourceError(const Source& source, Place place, std::string_view message)
{
    std::string text = harmless(source.name) + ':' + std::to_string(place.line) + ':' +
                       std::to_string(place.column) + ": error: " + std::string(message) + '\n';
    const std::string converted =
        source.bytes.size() > 1 && (source.bytes[0] & 0xFE) == 0xFE ? asUtf8(source.bytes) : "";
    std::string_view line =
        lineOf(converted.empty() ? std::string_view(source.bytes) : converted, place.line);

    if (line.empty())
        return text; // nothing to point at
    // The characters one by one: a line may be the whole file, so the first that are left out are only
    // counted.
    std::size_t characters = 0;
    for (std::string_view rest = line; !rest.empty() && characters <= place.column + widest; ++characters)
        rest.remove_prefix(std::max<std::size_t>(1, characterLength(rest)));
    const bool cut = characters > widest;
    const std::size_t from = cut && place.column > before ? place.column - before : 0;
    const std::size_t to = cut ? from + shown : characters;
    std::string caret;
    if (from > 0) {
        text += "...";
        caret = "   ";
    }
    std::size_t at = 0;
    for (; !line.empty() && at < to; ++at) {
        const std::size_t n = characterLength(line);
        if (at >= from) {
            if (n == 0)
                text += "\xEF\xBF\xBD";
            else if (isControl(line) && line[0] != '\t')
                text += '?';
            else
                text += line.substr(0, n);
            if (at + 1 < place.column)
                caret += line[0] == '\t' ? '\t' : ' ';
        }
        line.remove_prefix(std::max<std::size_t>(1, n));
    }
    return text + (line.empty() ? "\n" : "...\n") + caret + "^\n";
}

void failSource(const Source& source, Place place, std::string_view message)
{
    throw Failure{exitMalformed, sourceError(source, place, message), true};
}

void putVisible(Out& out, std::string_view text, char also)
{
    static const char digits[] = "0123456789abcdef";
    std::size_t plain = 0; // bytes before this one that need no change
    while (plain < text.size()) {
        const char c = text[plain];
        if (plainText.is[static_cast<unsigned char>(c)] && c != also) {
            ++plain;
            continue;
        }
        const std::size_t n = characterLength(text.substr(plain, 4));
        if (n > 0 && !isControl(text.substr(plain)) && c != '\\' && c != also) {
            plain += n;
            continue;
        }
        out.put(text.substr(0, plain));
        out.put('\\');
        const std::size_t bad = std::max<std::size_t>(1, n);
        for (std::size_t i = 0; i < bad; ++i) {
            const unsigned b = static_cast<unsigned char>(text[plain + i]);
            if (i > 0)
                out.put('\\');
            if (c == '\n' || c == '\r' || c == '\t')
                out.put(c == '\n' ? 'n' : c == '\r' ? 'r' : 't');
            else if (n == 1 && b >= 0x20 && b < 0x7F)
                out.put(c);
            else {
                out.put('x');
                out.put(digits[b >> 4]);
                out.put(digits[b & 15]);
            }
        }
        text.remove_prefix(plain + bad);
        plain = 0;
    }
    out.put(text);
}

} // namespace tool
