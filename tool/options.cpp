#include "tool/options.h"

#include "tool/output.h"

#include <algorithm>
#include <charconv>

namespace tool {

namespace {

// Edits that make one word of the other; two letters that changed places count as one.
std::size_t distance(std::string_view a, std::string_view b)
{
    std::vector<std::size_t> rows[3]; // of the letters of a: two before, one before, this one
    for (auto& row : rows)
        row.resize(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        rows[2][j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i) {
        rows[0].swap(rows[1]);
        rows[1].swap(rows[2]);
        rows[2][0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            rows[2][j] =
                std::min({rows[1][j] + 1, rows[2][j - 1] + 1, rows[1][j - 1] + (a[i - 1] != b[j - 1])});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                rows[2][j] = std::min(rows[2][j], rows[0][j - 2] + 1);
        }
    }
    return rows[2][b.size()];
}

// "; did you mean '...'?" for the nearest name, nothing when none is near.
std::string nearest(std::string_view word, const std::vector<std::string>& names, const char* dashes)
{
    const std::string* best = nullptr;
    std::size_t least = 0;
    for (const std::string& name : names) {
        const bool begins = word.size() > 1 && name.compare(0, word.size(), word) == 0;
        const std::size_t edits = begins ? 0 : distance(word.substr(0, 40), name);
        if ((begins || edits <= std::max<std::size_t>(1, name.size() / 3)) && (!best || edits < least)) {
            best = &name;
            least = edits;
        }
    }
    return best ? "; did you mean '" + std::string(dashes) + *best + "'?" : std::string();
}

bool isLetter(char c)
{
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

class Parser {
public:
    explicit Parser(const std::vector<std::string>& words) : m_words(words) {}
    Arguments parse();

private:
    void longOption(Arguments& to, std::string_view word);
    void letters(Arguments& to, std::string_view word);
    void take(Arguments& to, const Option& option, const std::string& shown, bool hasValue,
              std::string value);
    const Option* option(const Command* command, char letter, std::string_view name) const;
    [[noreturn]] static void fail(const Command* command, const std::string& text)
    {
        failUsage(command ? std::string(command->name) + ": " + text : text);
    }

    const std::vector<std::string>& m_words;
    std::size_t m_next = 0;
};

const Option* Parser::option(const Command* command, char letter, std::string_view name) const
{
    for (const auto* options : {command ? &command->options : &globalOptions(), &globalOptions()})
        for (const Option& o : *options)
            if (letter ? o.letter == letter : name == o.name)
                return &o;
    return nullptr;
}

void Parser::take(Arguments& to, const Option& option, const std::string& shown, bool hasValue,
                  std::string value)
{
    const Command* command = &to.command();
    if (option.takes == Takes::nothing) {
        if (hasValue)
            fail(command, "option " + shown + " takes no value");
    } else if (!hasValue) {
        if (m_next == m_words.size())
            fail(command, "option " + shown + " needs " + option.value);
        value = m_words[m_next++];
    }
    if (option.takes == Takes::number) {
        unsigned long n = 0;
        const char* end = value.data() + value.size();
        const auto read = std::from_chars(value.data(), end, n);
        const bool digits = !value.empty() && read.ec != std::errc::invalid_argument && read.ptr == end;
        if (!digits)
            fail(command, "option " + shown + " needs a number, not '" + value + "'");
        if (read.ec != std::errc() || n > option.most)
            fail(command, "option " + shown + " goes up to " + std::to_string(option.most));
    }
    if (option.takes == Takes::choice) {
        const auto words = choices(option);
        if (std::find(words.begin(), words.end(), value) == words.end())
            fail(command, "option " + shown + " is one of " + option.value + ", not '" + value + "'");
    }
    to.addOption(option, std::move(value));
}

void Parser::longOption(Arguments& to, std::string_view word)
{
    const std::size_t equals = word.find('=');
    const std::string_view name = word.substr(0, equals);
    const bool hasValue = equals != std::string_view::npos;
    const Option* found = option(&to.command(), 0, name);
    if (!found) {
        std::vector<std::string> names;
        for (const auto* options : {&to.command().options, &globalOptions()})
            for (const Option& o : *options)
                names.push_back(o.name);
        fail(&to.command(), "unknown option '--" + std::string(name) + "'" + nearest(name, names, "--"));
    }
    take(to, *found, "--" + std::string(name), hasValue,
         hasValue ? std::string(word.substr(equals + 1)) : "");
}

// "-abc": flags, the last of which may take the rest as its value.
void Parser::letters(Arguments& to, std::string_view word)
{
    while (!word.empty()) {
        const Option* found = option(&to.command(), word[0], {});
        const std::string shown = std::string("-") + word[0];
        if (!found)
            fail(&to.command(), "unknown option '" + shown + "'");
        word.remove_prefix(1);
        const bool hasValue = found->takes != Takes::nothing && !word.empty();
        take(to, *found, shown, hasValue, hasValue ? std::string(word) : "");
        if (hasValue)
            break;
    }
}

Arguments Parser::parse()
{
    if (m_words.empty())
        failUsage("a command is missing");
    std::string first = m_words[m_next++];
    // The two options that stand for commands.
    if (first == "-h" || first == "--help")
        first = "help";
    if (first == "-V" || first == "--version") {
        Arguments version(*findCommand("help"));
        version.addOption(globalOptions()[1], "");
        return version;
    }
    const Command* command = findCommand(first);
    if (!command) {
        std::vector<std::string> names;
        for (const Command& c : commands())
            names.push_back(c.name);
        const bool isOption = first.size() > 1 && first[0] == '-';
        fail(nullptr, isOption ? "unknown option '" + first + "'" +
                                     nearest(std::string_view(first).substr(2), {"help", "version"}, "--")
                               : "unknown command '" + first + "'" + nearest(first, names, ""));
    }
    Arguments result(*command);
    bool optionsEnded = false;
    while (m_next < m_words.size()) {
        const std::string_view word = m_words[m_next++];
        if (!optionsEnded && word == "--")
            optionsEnded = true;
        else if (!optionsEnded && word.substr(0, 2) == "--" && word.size() > 2 && isLetter(word[2]))
            longOption(result, word.substr(2));
        else if (!optionsEnded && word.size() > 1 && word[0] == '-' &&
                 (isLetter(word[1]) || option(command, word[1], {})))
            letters(result, word.substr(1));
        else
            result.addOperand(std::string(word));
    }
    if (result.has("help") || result.has("version"))
        return result;
    const int n = static_cast<int>(result.operands().size());
    if (n < command->least || (command->most >= 0 && n > command->most))
        fail(command, std::string(n < command->least ? "too few" : "too many") + " operands; usage: ztree " +
                          command->name + " [OPTION]... " + command->operands);
    return result;
}

} // namespace

std::vector<std::string_view> choices(const Option& option)
{
    std::vector<std::string_view> words;
    std::string_view rest = option.value;
    for (;;) {
        const std::size_t bar = rest.find('|');
        words.push_back(rest.substr(0, bar));
        if (bar == std::string_view::npos)
            return words;
        rest.remove_prefix(bar + 1);
    }
}

const Command* findCommand(std::string_view name)
{
    for (const Command& command : commands())
        if (name == command.name)
            return &command;
    return nullptr;
}

const Arguments::Given* Arguments::find(std::string_view option) const
{
    for (auto given = m_given.rbegin(); given != m_given.rend(); ++given)
        if (option == given->option->name)
            return &*given;
    return nullptr;
}

std::string Arguments::text(std::string_view option, const char* fallback) const
{
    const Given* given = find(option);
    return given ? given->value : fallback;
}

unsigned long Arguments::number(std::string_view option, unsigned long fallback) const
{
    const Given* given = find(option);
    if (given)
        std::from_chars(given->value.data(), given->value.data() + given->value.size(), fallback);
    return fallback;
}

std::vector<std::string> Arguments::all(std::string_view option) const
{
    std::vector<std::string> values;
    for (const Given& given : m_given)
        if (option == given.option->name)
            values.push_back(given.value);
    return values;
}

Arguments parseArguments(const std::vector<std::string>& words)
{
    return Parser(words).parse();
}

} // namespace tool
