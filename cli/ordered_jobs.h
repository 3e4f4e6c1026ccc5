#pragma once
// Work on several cores whose results come in the order in which the work was put in.

#include <algorithm>
#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <system_error>
#include <thread>
#include <vector>

namespace KvMeasure {

/// One thread owns it, puts inputs in and takes results out, in the same order:
///
///     while (read(input)) {
///         jobs.put(input, size);
///         while (jobs.isFull())
///             use(jobs.take());
///     }
///     while (!jobs.isEmpty())
///         use(jobs.take());
///
/// Without further threads the owner does each piece of work when it takes the result. With them it does what
/// no other has begun when it would have to wait. Memory holds three blocks for each thread; a block has
/// kMostItems inputs, or as many as have the size kMostSize together.
template <class Input, class Output>
class OrderedJobs {
public:
    using Work = std::function<Output(Input& input)>;  ///< what it throws is kept for the result

    struct Result {
        Input input;
        std::optional<Output> output;  ///< empty where the work threw
        std::exception_ptr error;
    };

    static constexpr std::size_t kMostItems = 16;
    static constexpr std::size_t kMostSize = 1U << 16;

    explicit OrderedJobs(Work own) : own_(std::move(own)) {}
    ~OrderedJobs();  ///< waits for the work that has begun; the rest is forgotten
    OrderedJobs(const OrderedJobs&) = delete;
    OrderedJobs& operator=(const OrderedJobs&) = delete;

    /// One more thread. `work` is called by it alone. False where the system gives none.
    bool addThread(Work work);

    void put(Input input, std::size_t size);
    bool isEmpty() const { return blocks_.empty(); }
    bool isFull() const { return blocks_.size() > 3 * threads_.size(); }
    Result take();  ///< the oldest; waits for it. Not when empty.

private:
    struct Block {
        std::vector<Result> results;
        std::size_t size = 0, taken = 0;
        bool isClosed = false;  ///< takes no more inputs
        bool isDone = false;    ///< guarded by mutex_
    };
    using BlockPointer = std::shared_ptr<Block>;

    void close(const BlockPointer& block);
    static void doWork(const Work& work, Block& block);
    void runThread(const Work& work);

    const Work own_;
    std::deque<BlockPointer> blocks_;  ///< in order; the owner's alone
    std::vector<std::thread> threads_;
    std::mutex mutex_;
    std::condition_variable hasWork_, isDone_;
    std::deque<BlockPointer> waiting_;  ///< closed and not begun; guarded by mutex_
    bool isStopped_ = false;            ///< guarded by mutex_
};

template <class Input, class Output>
OrderedJobs<Input, Output>::~OrderedJobs() {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        waiting_.clear();
        isStopped_ = true;
    }
    hasWork_.notify_all();
    for (std::thread& thread : threads_)
        thread.join();
}

template <class Input, class Output>
bool OrderedJobs<Input, Output>::addThread(Work work) {
    try {
        threads_.emplace_back([this, work = std::move(work)] { runThread(work); });
    } catch (const std::system_error&) {
        return false;
    }
    return true;
}

template <class Input, class Output>
void OrderedJobs<Input, Output>::put(Input input, std::size_t size) {
    if (blocks_.empty() || blocks_.back()->isClosed)
        blocks_.push_back(std::make_shared<Block>());
    const BlockPointer block = blocks_.back();
    block->results.push_back({std::move(input), std::nullopt, nullptr});
    block->size += size;
    if (threads_.empty() || block->results.size() == kMostItems || block->size >= kMostSize)
        close(block);
}

template <class Input, class Output>
void OrderedJobs<Input, Output>::close(const BlockPointer& block) {
    block->isClosed = true;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        waiting_.push_back(block);
    }
    hasWork_.notify_one();
}

template <class Input, class Output>
typename OrderedJobs<Input, Output>::Result OrderedJobs<Input, Output>::take() {
    const BlockPointer oldest = blocks_.front();
    if (!oldest->isClosed)
        close(oldest);
    if (oldest->taken == 0) {
        std::unique_lock<std::mutex> lock(mutex_);
        while (!oldest->isDone) {
            if (waiting_.empty()) {
                isDone_.wait(lock);
                continue;
            }
            const BlockPointer begun = waiting_.front();
            waiting_.pop_front();
            lock.unlock();
            doWork(own_, *begun);
            lock.lock();
            begun->isDone = true;
        }
    }
    Result result = std::move(oldest->results[oldest->taken]);
    if (++oldest->taken == oldest->results.size())
        blocks_.pop_front();
    return result;
}

template <class Input, class Output>
void OrderedJobs<Input, Output>::doWork(const Work& work, Block& block) {
    for (Result& result : block.results) {
        try {
            result.output = work(result.input);
        } catch (...) {
            result.error = std::current_exception();
        }
    }
}

template <class Input, class Output>
void OrderedJobs<Input, Output>::runThread(const Work& work) {
    std::unique_lock<std::mutex> lock(mutex_);
    while (true) {
        hasWork_.wait(lock, [this] { return isStopped_ || !waiting_.empty(); });
        if (isStopped_)
            return;
        const BlockPointer begun = waiting_.front();
        waiting_.pop_front();
        lock.unlock();
        doWork(work, *begun);
        lock.lock();
        begun->isDone = true;
        isDone_.notify_one();
    }
}

}  // namespace KvMeasure
