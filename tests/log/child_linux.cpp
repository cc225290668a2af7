#include "log/child.h"

#include <cstdint>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

void* startChild(const std::string& role)
{
    const pid_t pid = fork();
    if (pid == 0) {
        const rlimit none = {0, 0};
        setrlimit(RLIMIT_CORE, &none);
        alarm(60); // a child that hangs fails
        _exit(playRole(role));
    }
    return reinterpret_cast<void*>(static_cast<std::intptr_t>(pid));
}

int endOfChild(void* child)
{
    int status = 0;
    waitpid(static_cast<pid_t>(reinterpret_cast<std::intptr_t>(child)), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
}
