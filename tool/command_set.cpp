#include "tool/formats.h"
#include "tool/options.h"
#include "tool/paths.h"

#include <list>

namespace tool {

namespace {

// Where the "=" between path and value stands: the first one outside of brackets and quotes.
std::size_t equalsSign(std::string_view text)
{
    char quote = 0;
    int brackets = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quote)
            quote = c == quote ? '\0' : quote;
        else if (c == '\'' || c == '"')
            quote = c;
        else if (c == '[' || c == ']')
            brackets += c == '[' ? 1 : -1;
        else if (c == '=' && brackets <= 0)
            return i;
    }
    return std::string_view::npos;
}

struct Assignment {
    explicit Assignment(const std::string& word)
        : equals(equalsSign(word)), pathText(word, 0, equals), path(pathText)
    {
        if (equals == std::string::npos)
            failUsage("set: '" + word + "' is no assignment PATH=VALUE");
        value = word.substr(equals + 1);
    }
    void apply(ZTree& tree) const
    {
        ztree::PathError error;
        if (!ztree::set(tree, path.path, value, &error))
            failWord("path", pathText, static_cast<std::size_t>(error.column > 0 ? error.column - 1 : 0),
                     error.message);
    }

    std::size_t equals;
    std::string pathText;
    KnownPath path;
    std::string value;
};

} // namespace

int runSet(const Arguments& arguments)
{
    const std::string& file = arguments.operands()[0];
    const bool inPlace = arguments.has("in-place");
    const std::vector<std::string> deletions = arguments.all("delete");
    if (inPlace && (file == "-" || arguments.has("output")))
        failUsage("set: -i replaces a file; it goes neither with -o nor with standard input");
    if (arguments.operands().size() == 1 && deletions.empty())
        failUsage("set: nothing to change; usage: ztree set [OPTION]... FILE [PATH=VALUE]...");
    // All words are understood before the file is read.
    std::list<Assignment> assignments;
    for (std::size_t i = 1; i < arguments.operands().size(); ++i)
        assignments.emplace_back(arguments.operands()[i]);
    std::list<KnownPath> removals;
    for (const std::string& path : deletions)
        removals.emplace_back(path);
    ZTree tree;
    const Format& format = readTree(readSource(file), arguments.text("format"), tree);
    for (const Assignment& assignment : assignments)
        assignment.apply(tree);
    auto text = deletions.begin();
    for (const KnownPath& removal : removals) {
        if (ztree::remove(tree, removal.path) == 0)
            throw Failure{exitNo, "set: '" + *text + "' finds nothing to delete"};
        ++text;
    }
    const int backups = inPlace ? static_cast<int>(arguments.number("backups", 10)) : 0;
    writeTree(tree, format, Layout(), inPlace ? file : arguments.text("output", "-"), backups);
    return exitDone;
}

} // namespace tool
