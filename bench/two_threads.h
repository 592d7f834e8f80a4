// How many times the work of one thread two threads do.
#ifndef ZEL_BENCH_TWO_THREADS_H
#define ZEL_BENCH_TWO_THREADS_H

#include <algorithm>
#include <chrono>
#include <latch>
#include <thread>
#include <vector>

namespace zel::bench {

// Nanoseconds for each round of work, from the time when all threads are ready until the last one ends. In each
// thread body(repeat) makes what it works with and calls repeat(round).
template <typename Body>
double NanosecondsByThreads(int threads, int rounds, Body body) {
    using Clock = std::chrono::steady_clock;
    std::latch ready(threads);
    std::vector<Clock::time_point> begin(static_cast<std::size_t>(threads));
    std::vector<Clock::time_point> end(begin.size());
    std::vector<std::thread> running;
    for (std::size_t thread = 0; thread < begin.size(); ++thread) {
        running.emplace_back([&, thread] {
            body([&](auto round) {
                ready.arrive_and_wait();
                const Clock::time_point begun = Clock::now();
                for (int at = 0; at < rounds; ++at) {
                    round();
                }
                begin[thread] = begun;
                end[thread] = Clock::now();
            });
        });
    }
    for (std::thread& thread : running) {
        thread.join();
    }
    const std::chrono::duration<double, std::nano> spent =
        *std::max_element(end.begin(), end.end()) - *std::min_element(begin.begin(), begin.end());
    return spent.count() / rounds / threads;
}

// In turns, so that other work on the machine slows both equally.
template <typename Body>
double TwoThreadsOverOne(int rounds, Body body) {
    constexpr int kTurns = 100;
    double one = 1e18;
    double two = 1e18;
    for (int turn = 0; turn < kTurns; ++turn) {
        one = std::min(one, NanosecondsByThreads(1, rounds, body));
        two = std::min(two, NanosecondsByThreads(2, rounds, body));
    }
    return one / two;
}

}  // namespace zel::bench

#endif  // ZEL_BENCH_TWO_THREADS_H
