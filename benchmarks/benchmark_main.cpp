// The main function of every benchmark program: Google Benchmark's own, and with --count_allocations the heap
// use of the measured loops (allocs_per_iter and max_bytes_used in the JSON), of up to 16 rounds after the
// timed ones.
//
// The allocation functions stand in front of glibc's. Timed rounds pay one predicted branch in each. The
// option
// --wrap of the linker tells where a loop begins, pauses and ends, so that inputs made before it do not
// count.

#include <benchmark/benchmark.h>

#include <malloc.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <string_view>

#define KVMATH_IN_FRONT_OF_GLIBC extern "C" __attribute__((visibility("default")))

extern "C" {
void* glibcMalloc(std::size_t size) __asm__("__libc_malloc");
void* glibcCalloc(std::size_t count, std::size_t size) __asm__("__libc_calloc");
void* glibcRealloc(void* block, std::size_t size) __asm__("__libc_realloc");
void* glibcMemalign(std::size_t alignment, std::size_t size) __asm__("__libc_memalign");
void glibcFree(void* block) __asm__("__libc_free");
}

namespace {

using Counter = std::atomic<long long>;
Counter calls, bytes, live, peak;
bool isRecorded = false;              // the present run of a benchmark shall be counted
std::atomic<bool> isCounting{false};  // and is inside its loop

long long sizeOf(void* block) { return static_cast<long long>(malloc_usable_size(block)); }

void* counted(void* block, long long before = 0) {
    if (isCounting.load(std::memory_order_relaxed) && block != nullptr) {
        const long long size = sizeOf(block);
        calls += 1;
        bytes += size;
        live += size - before;
        peak = std::max(peak.load(), live.load());
    }
    return block;
}

/// Without `override`, since one form of Stop is pure up to version 1.7 of the library and gone from 1.8 on.
class HeapUse : public benchmark::MemoryManager {
public:
    void Start() {
        for (Counter* counter : {&calls, &bytes, &live, &peak})
            *counter = 0;
        isRecorded = true;
    }
    void Stop(Result* result) {
        isRecorded = false;
        result->num_allocs = calls;
        result->max_bytes_used = peak;
        result->total_allocated_bytes = bytes;
        result->net_heap_growth = live;
    }
    void Stop(Result& result) { Stop(&result); }
};

}  // namespace

KVMATH_IN_FRONT_OF_GLIBC void* malloc(std::size_t size) noexcept { return counted(glibcMalloc(size)); }

KVMATH_IN_FRONT_OF_GLIBC void* calloc(std::size_t count, std::size_t size) noexcept {
    return counted(glibcCalloc(count, size));
}

KVMATH_IN_FRONT_OF_GLIBC void* realloc(void* block, std::size_t size) noexcept {
    const long long before = isCounting.load(std::memory_order_relaxed) ? sizeOf(block) : 0;
    return counted(glibcRealloc(block, size), before);
}

KVMATH_IN_FRONT_OF_GLIBC void* memalign(std::size_t alignment, std::size_t size) noexcept {
    return counted(glibcMemalign(alignment, size));
}

KVMATH_IN_FRONT_OF_GLIBC void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
    return counted(glibcMemalign(alignment, size));
}

KVMATH_IN_FRONT_OF_GLIBC int posix_memalign(void** block, std::size_t alignment, std::size_t size) noexcept {
    *block = counted(glibcMemalign(alignment, size));
    return *block == nullptr ? ENOMEM : 0;
}

KVMATH_IN_FRONT_OF_GLIBC void free(void* block) noexcept {
    if (isCounting.load(std::memory_order_relaxed))
        live -= sizeOf(block);
    glibcFree(block);
}

// The ends and pauses of a loop: wrap* is called in place of the library's function, real* is that function.
// What the library does between a pause and its end stays uncounted.
extern "C" {
void realBegin(benchmark::State* state) __asm__("__real__ZN9benchmark5State16StartKeepRunningEv");
void realEnd(benchmark::State* state) __asm__("__real__ZN9benchmark5State17FinishKeepRunningEv");
void realPause(benchmark::State* state) __asm__("__real__ZN9benchmark5State11PauseTimingEv");
void realResume(benchmark::State* state) __asm__("__real__ZN9benchmark5State12ResumeTimingEv");
void wrapBegin(benchmark::State* state) __asm__("__wrap__ZN9benchmark5State16StartKeepRunningEv");
void wrapEnd(benchmark::State* state) __asm__("__wrap__ZN9benchmark5State17FinishKeepRunningEv");
void wrapPause(benchmark::State* state) __asm__("__wrap__ZN9benchmark5State11PauseTimingEv");
void wrapResume(benchmark::State* state) __asm__("__wrap__ZN9benchmark5State12ResumeTimingEv");

void wrapBegin(benchmark::State* state) {
    realBegin(state);
    isCounting = isRecorded;
}
void wrapEnd(benchmark::State* state) {
    isCounting = false;
    realEnd(state);
}
void wrapPause(benchmark::State* state) {
    isCounting = false;
    realPause(state);
}
void wrapResume(benchmark::State* state) {
    realResume(state);
    isCounting = isRecorded;
}
}

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    HeapUse heapUse;
    if (argc == 2 && std::string_view(argv[1]) == "--count_allocations") {
        benchmark::RegisterMemoryManager(&heapUse);
        argc = 1;
    }
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return EXIT_FAILURE;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return EXIT_SUCCESS;
}
