#pragma once
// Runs a check in a child process whose resources are limited, as a full disk or a small machine would.

#include <csignal>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace TestSupport {

/// True when `check()` returned true in a child that may write `fileBytes` per file and map `memoryBytes`
/// (0: no limit). False also when it crashed, threw or was ended.
template <class Check>
bool holdsInChild(rlim_t fileBytes, rlim_t memoryBytes, Check check) {
    const pid_t child = fork();
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_IGN);  // the write fails instead
        const rlimit files{fileBytes, fileBytes}, memory{memoryBytes, memoryBytes};
        bool holds = (fileBytes == 0 || setrlimit(RLIMIT_FSIZE, &files) == 0) &&
                     (memoryBytes == 0 || setrlimit(RLIMIT_AS, &memory) == 0);
        try {
            holds = holds && check();
        } catch (...) {
            holds = false;
        }
        _exit(holds ? 0 : 1);
    }
    int status = -1;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace TestSupport
