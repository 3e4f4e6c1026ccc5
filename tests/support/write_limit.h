#pragma once
// While the object lives, no file of this process grows beyond so many bytes, as on a full disk.

#include <csignal>
#include <sys/resource.h>

namespace TestSupport {

struct WriteLimit {
    rlimit before{};
    void (*const handler)(int) = std::signal(SIGXFSZ, SIG_IGN);
    explicit WriteLimit(rlim_t bytes) {
        ::getrlimit(RLIMIT_FSIZE, &before);
        const rlimit now{bytes, before.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &now);
    }
    WriteLimit(const WriteLimit&) = delete;
    WriteLimit& operator=(const WriteLimit&) = delete;
    ~WriteLimit() {
        ::setrlimit(RLIMIT_FSIZE, &before);
        std::signal(SIGXFSZ, handler);
    }
};

}  // namespace TestSupport
