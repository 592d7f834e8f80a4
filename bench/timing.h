// Timing side by side: the best of several rounds in which the contenders take turns.
#ifndef ZEL_BENCH_TIMING_H
#define ZEL_BENCH_TIMING_H

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace zel::bench {

inline constexpr int kRounds = 60;
inline constexpr double kRoundNanoseconds = 4e6;
inline constexpr double kNotTimed = 1e18;

// Results are stored here, so that the compiler keeps the work.
inline volatile std::uint64_t sink = 0;

template <typename Work>
double Nanoseconds(Work work, long repetitions) {
    const auto begin = std::chrono::steady_clock::now();
    for (long repetition = 0; repetition < repetitions; ++repetition) {
        sink = work();
    }
    const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - begin;
    return spent.count() / static_cast<double>(repetitions);
}

// One round; `best` is kNotTimed before the first.
template <typename Work>
void Improve(double& best, Work work) {
    const double once = best < kNotTimed ? best : Nanoseconds(work, 100);
    best = std::min(best, Nanoseconds(work, std::max(10L, static_cast<long>(kRoundNanoseconds / once))));
}

}  // namespace zel::bench

#endif  // ZEL_BENCH_TIMING_H
