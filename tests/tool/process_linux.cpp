#include "tool/process.h"

#include "tool/transcript.h"

#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>

const char* const programSuffix = "";

ProcessResult runProcess(const std::vector<std::string>& words, const std::string& folder,
                         const std::string& input, const std::string& scratch)
{
    const std::string out = scratch + "/stdout";
    const std::string err = scratch + "/stderr";
    std::vector<char*> argv;
    for (const std::string& word : words)
        argv.push_back(const_cast<char*>(word.c_str()));
    argv.push_back(nullptr);
    const pid_t child = fork();
    if (child == 0) {
        const auto redirect = [](const char* path, int flags, int to) {
            const int file = open(path, flags, 0600);
            if (file < 0 || dup2(file, to) < 0)
                _exit(126);
            close(file);
        };
        redirect(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 1);
        redirect(err.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 2);
        if (chdir(folder.c_str()) != 0)
            _exit(126);
        redirect(input.empty() ? "/dev/null" : input.c_str(), O_RDONLY, 0);
        execv(argv[0], argv.data());
        _exit(127);
    }
    int status = 0;
    ProcessResult result;
    if (child > 0 && waitpid(child, &status, 0) == child)
        result.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    result.out = fileText(out);
    result.err = fileText(err);
    return result;
}

std::string programFolder()
{
    return std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
}

void setVariable(const char* name, const char* value)
{
    if (value)
        setenv(name, value, 1);
    else
        unsetenv(name);
}
