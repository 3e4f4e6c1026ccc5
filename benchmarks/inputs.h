#pragma once
// Inputs that change from round to round: the processor would learn the branches of a single small one by
// heart, which no scanner line allows. All rows of a problem take the same ones, which are compared before
// anything is timed.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

namespace Inputs {

/// Inputs of `size` points that take turns: at least 64,000 points in all by at most 64 inputs and at least
/// 8. Above 10,000 points a single one, too long to be learnt.
constexpr unsigned countFor(std::size_t size) {
    constexpr std::size_t kPoints = 64'000;
    if (size > 10'000)
        return 1;
    return static_cast<unsigned>(std::clamp<std::size_t>(kPoints / std::max<std::size_t>(size, 1), 8, 64));
}

/// Several inputs of one size, taken round robin.
template <class Input>
class Pool {
public:
    explicit Pool(std::vector<Input> inputs) : inputs_(std::move(inputs)) {}

    /// Of make(size, seed), the seeds from 1 on.
    template <class Size, class Make>
    Pool(Size size, Make make) {
        const unsigned count = countFor(static_cast<std::size_t>(size));
        inputs_.reserve(count);
        for (unsigned seed = 1; seed <= count; ++seed)
            inputs_.push_back(make(size, seed));
    }

    std::size_t count() const { return inputs_.size(); }
    Input& next() {
        Input& input = inputs_[at_];
        at_ = at_ + 1 < inputs_.size() ? at_ + 1 : 0;
        return input;
    }

    /// What `convert` makes of each, in the same order: inputs of another library, results.
    template <class Convert>
    auto as(Convert convert) const {
        std::vector<std::decay_t<std::invoke_result_t<Convert, const Input&>>> converted;
        converted.reserve(inputs_.size());
        for (const Input& input : inputs_)
            converted.push_back(convert(input));
        return Pool<typename decltype(converted)::value_type>(std::move(converted));
    }

    /// The first difference that `compare` tells, null where all inputs give the same.
    template <class Compare>
    const char* difference(Compare compare) const {
        for (const Input& input : inputs_) {
            if (const char* what = compare(input))
                return what;
        }
        return nullptr;
    }

private:
    std::vector<Input> inputs_;
    std::size_t at_ = 0;
};

template <class Size, class Make>
Pool(Size, Make) -> Pool<std::decay_t<std::invoke_result_t<Make, Size, unsigned>>>;

/// Times `call` on one input after the other.
template <class Input, class Call>
void measure(benchmark::State& state, Pool<Input> inputs, Call call) {
    for (auto _ : state) {
        call(inputs.next());
        benchmark::ClobberMemory();
    }
}

}  // namespace Inputs
