#pragma once
/// @file options.h
/// One table of commands and options, which parsing, help, manual page and completion all read.

#include <string>
#include <string_view>
#include <vector>

namespace tool {

enum class Takes : unsigned char { nothing, text, file, number, choice };

struct Option {
    char letter;      ///< 0: it has a long name only
    const char* name; ///< without the dashes
    Takes takes;
    std::string value;               ///< what the value is called; for a choice the words, with "|" between
    std::string help;                ///< a sentence, wrapped where it is printed
    unsigned long most = 0x7FFFFFFF; ///< the largest number
};

class Arguments;

struct Command {
    const char* name;
    const char* operands; ///< as in the usage line
    int least;            ///< operands
    int most;             ///< -1: any number
    const char* summary;
    const char* details; ///< paragraphs, each one line
    std::vector<Option> options;
    int (*run)(const Arguments& arguments); ///< returns an Exit
};

/// All commands in the order of the help.
const std::vector<Command>& commands();
/// Options that stand before a command.
const std::vector<Option>& globalOptions();
const Command* findCommand(std::string_view name);

/// A command line that agrees with the table.
class Arguments {
public:
    explicit Arguments(const Command& command) : m_command(&command) {}
    const Command& command() const { return *m_command; }
    const std::vector<std::string>& operands() const { return m_operands; }
    bool has(std::string_view option) const { return find(option) != nullptr; }
    /// The last value given, else the fallback.
    std::string text(std::string_view option, const char* fallback = "") const;
    unsigned long number(std::string_view option, unsigned long fallback) const;
    /// All values of an option that may be given more than once.
    std::vector<std::string> all(std::string_view option) const;

    void addOperand(std::string text) { m_operands.push_back(std::move(text)); }
    void addOption(const Option& option, std::string value)
    {
        m_given.push_back({&option, std::move(value)});
    }

private:
    struct Given {
        const Option* option;
        std::string value;
    };
    const Given* find(std::string_view option) const;

    const Command* m_command;
    std::vector<std::string> m_operands;
    std::vector<Given> m_given;
};

/// The command with its options and operands; throws Failure with what is wrong and the nearest name.
/// A word that begins with "-" and no letter is an operand, and so is every word behind "--".
Arguments parseArguments(const std::vector<std::string>& words);

/// Splits the words of a choice.
std::vector<std::string_view> choices(const Option& option);

// --- all made of the table (help.cpp) ---
std::string versionText();
std::string helpText();
std::string helpText(const Command& command);
int runHelp(const Arguments& arguments);
int runMan(const Arguments& arguments);
int runCompletion(const Arguments& arguments);

// --- commands ---
int runShow(const Arguments& arguments);
int runGet(const Arguments& arguments);
int runSet(const Arguments& arguments);
int runCheck(const Arguments& arguments);
int runConvert(const Arguments& arguments);
int runDump(const Arguments& arguments);
int runEval(const Arguments& arguments);
int runBackup(const Arguments& arguments);
int runWords(const Arguments& arguments);

} // namespace tool
