#include "tool/transcript.h"

#include "tool/process.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace {

void writeFile(const fs::path& path, const std::string& bytes)
{
    fs::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << bytes;
}

std::string unescaped(const std::string& text)
{
    std::string bytes;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            bytes += text[i];
            continue;
        }
        const char c = text.at(++i);
        if (c == 'x') {
            bytes += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
            i += 2;
        } else {
            bytes += c == 'n' ? '\n' : c == 't' ? '\t' : c == 'r' ? '\r' : c;
        }
    }
    return bytes;
}

std::vector<std::string> wordsOf(const std::string& line)
{
    std::vector<std::string> words;
    for (std::size_t at = 0; (at = line.find_first_not_of(' ', at)) != std::string::npos;) {
        words.emplace_back();
        while (at < line.size() && line[at] != ' ') {
            const char quote = line[at];
            const std::size_t end = quote == '\'' || quote == '"' ? line.find(quote, at + 1) : at;
            if (end == std::string::npos)
                return {}; // runs nothing
            const std::string part = line.substr(at == end ? at : at + 1, at == end ? 1 : end - at - 1);
            words.back() += quote == '"' ? unescaped(part) : part;
            at = end + 1;
        }
    }
    return words;
}

// Output as lines of a transcript.
std::string shown(const std::string& output, const std::string& prefix)
{
    static const char digits[] = "0123456789ABCDEF";
    std::string text;
    std::istringstream lines(output);
    for (std::string line; std::getline(lines, line);) {
        std::string visible;
        for (const char c : line) {
            const unsigned b = static_cast<unsigned char>(c);
            if (b >= 0x20 && b != 0x7F)
                visible += c;
            else
                visible += std::string("<") + digits[b >> 4] + digits[b & 15] + '>';
        }
        if (prefix.empty() &&
            (visible.empty() || std::string("#-@$!?\\").find(visible[0]) != std::string::npos))
            visible = '\\' + visible;
        text += prefix + visible + '\n';
    }
    if (!output.empty() && output.back() != '\n')
        text.insert(text.size() - 1, "<end>");
    return text;
}

class Session {
public:
    explicit Session(const std::string& folder) : m_scratch(folder), m_home(folder + "/home")
    {
        fs::create_directories(fs::u8path(m_home));
    }
    void put(const std::string& name, const std::string& bytes) { writeFile(path(name), bytes); }
    /// The lines that come of a command.
    std::string run(const std::string& line)
    {
        std::vector<std::string> words = wordsOf(line);
        std::vector<std::string> variables;
        while (!words.empty() && words[0].find('=') != std::string::npos) {
            const std::size_t equals = words[0].find('=');
            variables.push_back(words[0].substr(0, equals));
            setVariable(variables.back().c_str(), words[0].substr(equals + 1).c_str());
            words.erase(words.begin());
        }
        const std::string input = redirection(words, "<");
        const std::string output = redirection(words, ">");
        ProcessResult result = execute(words, input);
        for (const std::string& name : variables)
            setVariable(name.c_str(), nullptr);
        if (!output.empty()) {
            put(output, result.out);
            result.out.clear();
        }
        return shown(result.out, "") + shown(result.err, "! ") +
               (result.code ? "? " + std::to_string(result.code) + '\n' : "");
    }

private:
    fs::path path(const std::string& name) const { return fs::u8path(m_home) / fs::u8path(name); }
    static std::string redirection(std::vector<std::string>& words, const char* sign)
    {
        const auto at = std::find(words.begin(), words.end(), sign);
        if (at == words.end() || at + 1 == words.end())
            return {};
        const std::string name = at[1];
        words.erase(at, at + 2);
        return name;
    }
    ProcessResult execute(std::vector<std::string> words, const std::string& input)
    {
        ProcessResult result;
        result.code = 0;
        const std::string name = words.empty() ? "" : words[0];
        if (name == "ls") {
            std::vector<std::string> names;
            for (const auto& entry : fs::recursive_directory_iterator(fs::u8path(m_home)))
                names.push_back(fs::relative(entry.path(), fs::u8path(m_home)).generic_u8string());
            std::sort(names.begin(), names.end());
            for (const std::string& entry : names)
                result.out += entry + '\n';
        } else if (name == "cat" || name == "rm") {
            for (std::size_t i = 1; i < words.size(); ++i) {
                result.out += name == "cat" ? fileText(path(words[i]).u8string()) : "";
                if (name == "rm")
                    fs::remove_all(path(words[i]));
            }
        } else {
            if (name == "ztree")
                words[0] = programFolder() + "/ztree" + programSuffix;
            else if (name == "sh")
                words = {"/bin/sh", "-c", words.at(1), words[0]};
            result = runProcess(words, m_home, input, m_scratch);
        }
        return result;
    }

    std::string m_scratch;
    std::string m_home;
};

} // namespace

std::string fileText(const std::string& path)
{
    std::ifstream in(fs::u8path(path), std::ios::binary);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::string replayTranscript(const std::string& transcript, const std::string& folder)
{
    Session session(folder);
    std::string result;
    std::string blanks; // lines that are repeated only when no output stands before them
    std::istringstream lines(transcript);
    for (std::string line; std::getline(lines, line);) {
        if (line.empty()) {
            blanks += '\n';
            continue;
        }
        const char mark = line[0];
        const bool command = line.compare(0, 2, "$ ") == 0;
        const bool block = line.compare(0, 4, "--- ") == 0;
        if (!command && !block && mark != '#' && mark != '@') {
            blanks.clear();
            continue; // what came last time
        }
        result += blanks + line + '\n';
        blanks.clear();
        if (command) {
            result += session.run(line.substr(2));
        } else if (block) {
            std::string bytes;
            for (std::string part; std::getline(lines, part) && part != "---"; result += part + '\n')
                bytes += part + '\n';
            result += "---\n";
            session.put(line.substr(4), bytes);
        } else if (mark == '@') {
            const std::size_t blank = std::min(line.find(' ', 2), line.size());
            session.put(line.substr(2, blank - 2), unescaped(line.substr(std::min(blank + 1, line.size()))));
        }
    }
    return result;
}
