#include "tool/options.h"
#include "tool/paths.h"

#include <ztree/datetime.h>
#include <ztree/ext/strings.h>

#include <charconv>
#include <memory>

namespace tool {

namespace {

std::unique_ptr<amountInWords> speaker(const std::string& language)
{
    if (language == "de")
        return std::make_unique<amtGerman>();
    if (language == "ru")
        return std::make_unique<amtRussian>();
    return std::make_unique<amtEnglish>();
}

// "-12.50": bytes that are such a number from the start on.
std::size_t numberLength(std::string_view text)
{
    const std::size_t sign = text.substr(0, 1) == "-" ? 1 : 0;
    const std::size_t whole = std::min(text.find_first_not_of("0123456789", sign), text.size());
    if (whole == sign || whole == text.size() || text[whole] != '.')
        return whole == sign ? sign : whole;
    return std::min(text.find_first_not_of("0123456789", whole + 1), text.size());
}

} // namespace

int runWords(const Arguments& arguments)
{
    const auto language = speaker(arguments.text("language", "en"));
    const ZStringW currency = ztree::wide(arguments.text("currency", "EUR"));
    unsigned flags = 0;
    flags |= arguments.has("modern") ? static_cast<unsigned>(ztree::wordsModern) : 0;
    flags |= arguments.has("digits") ? static_cast<unsigned>(ztree::wordsDigits) : 0;
    flags |= arguments.has("capital") ? static_cast<unsigned>(ztree::wordsCapital) : 0;
    int result = exitDone;
    for (const std::string& text : arguments.operands()) {
        const std::size_t length = numberLength(text);
        double amount = 0;
        ZStringW words;
        if (length < text.size() || length == 0 || text == "-") {
            report(sourceError({"amount", text}, placeOf(text, length), "this is no amount"));
            result = exitMalformed;
        } else if (std::from_chars(text.data(), text.data() + length, amount).ec != std::errc() ||
                   language->getTextEx(amount, currency.getBuffer(), flags, words) < 0) {
            report(sourceError({"amount", text}, {1, 1}, "the amount is too large"));
            result = exitMalformed;
        } else {
            standardOutput().put(ztree::toUtf8(words) + '\n');
        }
    }
    return result;
}

} // namespace tool
