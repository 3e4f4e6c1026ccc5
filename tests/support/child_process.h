#pragma once
// Runs a check in a child process whose resources are limited, as a full disk or a small machine would.

#include <csignal>
#include <cstdlib>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" int __llvm_profile_write_file() __attribute__((weak));  // NOLINT: there where coverage is measured

namespace TestSupport {

/// True when `check()` returned true in a child that may write `fileBytes` per file and map `memoryBytes`
/// (0: no limit). False also when it crashed, threw or was ended.
template <class Check>
bool holdsInChild(rlim_t fileBytes, rlim_t memoryBytes, Check check) {
    const pid_t child = fork();
    if (child == 0) {
        std::signal(SIGXFSZ, SIG_IGN);  // the write fails instead
        rlimit files{}, memory{};
        bool holds = getrlimit(RLIMIT_FSIZE, &files) == 0 && getrlimit(RLIMIT_AS, &memory) == 0;
        const rlimit fewer{fileBytes != 0 ? fileBytes : files.rlim_cur, files.rlim_max};
        const rlimit less{memoryBytes != 0 ? memoryBytes : memory.rlim_cur, memory.rlim_max};
        try {
            holds =
                holds && setrlimit(RLIMIT_FSIZE, &fewer) == 0 && setrlimit(RLIMIT_AS, &less) == 0 && check();
        } catch (...) {
            holds = false;
        }
        setrlimit(RLIMIT_FSIZE, &files);
        setrlimit(RLIMIT_AS, &memory);
        if (__llvm_profile_write_file != nullptr)
            std::exit(holds ? 0 : 1);  // writes the counters of all libraries
        _exit(holds ? 0 : 1);
    }
    int status = -1;
    return child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace TestSupport
