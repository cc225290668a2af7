#include "tool/options.h"
#include "tool/output.h"

#include <string_view>

namespace tool {

namespace {

constexpr const char* purpose = "reads, searches, changes and writes typed trees and XML";
constexpr const char* files =
    "FILE may be - for standard input. Data goes to standard output, messages to standard error.";

struct ExitRow {
    const char* code;
    const char* meaning;
};
constexpr ExitRow exits[] = {
    {"0", "done"},
    {"1", "the answer is no: nothing was found"},
    {"2", "a wrong command line, or a file that cannot be read or written"},
    {"3", "input that is not well-formed"},
};

// "-d, --depth N"
std::string syntax(const Option& option)
{
    std::string text = option.letter ? std::string("-") + option.letter + ", --" : "    --";
    text += option.name;
    if (option.takes == Takes::choice)
        text += '=';
    else if (option.takes != Takes::nothing)
        text += ' ';
    return text + option.value;
}

std::string usage(const Command& command)
{
    std::string text = std::string("ztree ") + command.name;
    if (!command.options.empty())
        text += " [OPTION]...";
    if (*command.operands)
        text += std::string(" ") + command.operands;
    return text;
}

// Paragraphs broken at blanks before column 80, each line behind so many blanks but the first.
std::string wrapped(std::string_view text, std::size_t indent = 0)
{
    std::string lines;
    std::size_t column = indent;
    while (!text.empty()) {
        const std::size_t n = std::min(text.find_first_of(" \n"), text.size());
        if (column > indent && column + 1 + n > 79) {
            lines += '\n' + std::string(indent, ' ');
            column = indent;
        }
        if (column > indent) {
            lines += ' ';
            ++column;
        }
        lines += text.substr(0, n);
        column += n;
        if (n < text.size() && text[n] == '\n') {
            lines += "\n\n";
            column = indent;
        }
        text.remove_prefix(n < text.size() ? n + 1 : n);
    }
    return lines + '\n';
}

// Two columns; what is too wide for the first stands on its own line.
std::string row(const std::string& left, std::size_t width, const std::string& right)
{
    std::string text = "  " + left;
    if (left.size() > width)
        text += '\n' + std::string(width + 4, ' ');
    else
        text.append(width + 2 - left.size(), ' ');
    return text + wrapped(right, width + 4);
}

std::string rows(const std::vector<Option>& options)
{
    std::string text;
    for (const Option& option : options)
        text += row(syntax(option), 22, option.help);
    return text;
}

// Text for the formatter of manual pages: "\" and "-" are escaped, no line begins a request.
std::string roff(std::string_view text)
{
    std::string result;
    for (const char c : text) {
        if (c == '\n') {
            result += "\n.PP\n";
            continue;
        }
        if ((c == '.' || c == '\'') && (result.empty() || result.back() == '\n'))
            result += "\\&";
        if (c == '\\')
            result += "\\e";
        else if (c == '-')
            result += "\\-";
        else
            result += c;
    }
    return result;
}

std::string roffOptions(const std::vector<Option>& options)
{
    std::string text;
    for (const Option& option : options) {
        std::string shown = syntax(option);
        shown.erase(0, shown.find('-'));
        text += ".TP\n.B " + roff(shown) + '\n' + roff(option.help) + '\n';
    }
    return text;
}

// All words of one command that begin with "-", with blanks between.
std::string dashed(const std::vector<Option>& options)
{
    std::string words;
    for (const Option& option : options) {
        if (option.letter)
            words += std::string("-") + option.letter + ' ';
        words += std::string("--") + option.name + ' ';
    }
    return words;
}

} // namespace

std::string versionText()
{
    return "ztree " ZTREE_TOOL_VERSION "\n";
}

std::string helpText()
{
    std::string text = std::string("ztree - ") + purpose +
                       "\n\nUsage: ztree COMMAND [OPTION]... [OPERAND]...\n\nCommands:\n";
    for (const Command& command : commands())
        text += row(command.name, 10, command.summary);
    text += "\nOptions:\n" + rows(globalOptions()) + '\n' + wrapped(files) + "\nExit codes:\n";
    for (const ExitRow& exit : exits)
        text += row(exit.code, 2, exit.meaning);
    return text + "\n'ztree help COMMAND' tells more about a command.\n";
}

std::string helpText(const Command& command)
{
    std::string text = std::string("ztree ") + command.name + " - " + command.summary +
                       "\n\nUsage: " + usage(command) + '\n';
    if (*command.details)
        text += '\n' + wrapped(command.details);
    if (!command.options.empty())
        text += "\nOptions:\n" + rows(command.options);
    return text;
}

int runHelp(const Arguments& arguments)
{
    if (arguments.operands().empty()) {
        standardOutput().put(helpText());
        return exitDone;
    }
    // Parsed as a command line, so that a wrong name gets the same answer.
    standardOutput().put(helpText(parseArguments({arguments.operands()[0], "--help"}).command()));
    return exitDone;
}

int runMan(const Arguments&)
{
    std::string text =
        ".TH ZTREE 1 \"\" \"ztree " ZTREE_TOOL_VERSION "\" \"User Commands\"\n.SH NAME\nztree \\- " +
        roff(purpose) +
        "\n.SH SYNOPSIS\n.B ztree\n.I COMMAND\n[\\fIOPTION\\fR]... [\\fIOPERAND\\fR]...\n.SH DESCRIPTION\n" +
        roff(files) + "\n.SH COMMANDS\n";
    for (const Command& command : commands()) {
        text += ".SS " + roff(usage(command)) + '\n' +
                roff(std::string(command.name) + ' ' + command.summary + '.') + '\n';
        if (*command.details)
            text += ".PP\n" + roff(command.details) + '\n';
        text += roffOptions(command.options);
    }
    text += ".SH OPTIONS\n" + roffOptions(globalOptions()) + ".SH EXIT STATUS\n";
    for (const ExitRow& exit : exits)
        text += std::string(".TP\n.B ") + exit.code + '\n' + roff(exit.meaning) + '\n';
    standardOutput().put(text);
    return exitDone;
}

int runCompletion(const Arguments& arguments)
{
    if (arguments.operands()[0] != "bash")
        failUsage("completion: unknown shell '" + arguments.operands()[0] + "'; there is: bash");
    std::string names;
    std::string options;
    std::string values; // of options, by command and option
    for (const Command& command : commands()) {
        names += std::string(command.name) + ' ';
        options += "        ";
        options += command.name;
        options += ") words='" + dashed(command.options) + dashed(globalOptions()) + "' ;;\n";
        for (const Option& option : command.options) {
            std::string pattern = std::string("'") + command.name + " --" + option.name + "'";
            if (option.letter) {
                pattern += " | '";
                pattern += command.name;
                pattern += " -";
                pattern += option.letter;
                pattern += '\'';
            }
            if (option.takes == Takes::choice) {
                std::string list = option.value;
                for (char& c : list)
                    c = c == '|' ? ' ' : c;
                values += "        ";
                values += pattern;
                values += ") COMPREPLY=($(compgen -W '" + list + "' -- \"$word\")); return ;;\n";
            } else if (option.takes == Takes::text || option.takes == Takes::number) {
                values += "        ";
                values += pattern;
                values += ") return ;;\n";
            }
        }
    }
    standardOutput().put("_ztree()\n{\n"
                         "    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} "
                         "command=${COMP_WORDS[1]} words\n"
                         "    COMPREPLY=()\n"
                         "    if [ \"$COMP_CWORD\" -eq 1 ]; then\n"
                         "        COMPREPLY=($(compgen -W '" +
                         names + dashed(globalOptions()) +
                         "' -- \"$word\"))\n"
                         "        return\n"
                         "    fi\n"
                         "    # Behind \"--option=\" bash makes words of \"=\" and of the value.\n"
                         "    if [ \"$word\" = '=' ]; then\n"
                         "        word=\n"
                         "    elif [ \"$before\" = '=' ]; then\n"
                         "        before=${COMP_WORDS[COMP_CWORD - 2]}\n"
                         "    fi\n"
                         "    case \"$command $before\" in\n" +
                         values +
                         "    esac\n"
                         "    case \"$word\" in -*) ;; *)\n"
                         "        case $command in\n"
                         "        help) COMPREPLY=($(compgen -W '" +
                         names +
                         "' -- \"$word\")) ;;\n"
                         "        completion) COMPREPLY=($(compgen -W bash -- \"$word\")) ;;\n"
                         "        *) local IFS=$'\\n'; COMPREPLY=($(compgen -f -- \"$word\")) ;;\n"
                         "        esac\n"
                         "        return ;;\n"
                         "    esac\n"
                         "    case $command in\n" +
                         options +
                         "    esac\n"
                         "    COMPREPLY=($(compgen -W \"$words\" -- \"$word\"))\n"
                         "}\n"
                         "complete -o filenames -F _ztree ztree\n");
    return exitDone;
}

} // namespace tool
