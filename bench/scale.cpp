// What must not grow: the lookup of a type with the number of types, the time of a message with the number of threads,
// and the time of compression with its framing. Best of several rounds.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <latch>
#include <string>
#include <thread>
#include <vector>

#include "bench/made_tables.h"
#include "core/wire/compression.h"
#include "core/wire/header.h"
#include "crush32/crush32.h"
#include "include/zelmessage.h"

namespace {

using zel::bench::MadeTables;

constexpr int kRounds = 9;

// All longs, all in each message type.
constexpr int kFields = 20;

class Longs : public MadeTables {
public:
    explicit Longs(int types) : MadeTables(std::vector<Field>(kFields, {kZELLong, 4})) {
        Use({zel::bench::IdsFrom(kFirst, kFields)}, types);
    }
};

template <typename Work>
double BestNanoseconds(long repetitions, Work work) {
    double best = 1e18;
    for (int round = 0; round < kRounds; ++round) {
        const auto begin = std::chrono::steady_clock::now();
        for (long repetition = 0; repetition < repetitions; ++repetition) {
            work();
        }
        const std::chrono::duration<double, std::nano> spent = std::chrono::steady_clock::now() - begin;
        best = std::min(best, spent.count() / static_cast<double>(repetitions));
    }
    return best;
}

void Fill(CZELMessage& object, short type) {
    object.msgType = type;
    object.subType = 1;
    object.createStruct();
    for (short id = MadeTables::kFirst; id < MadeTables::kFirst + kFields; ++id) {
        const ZELLong value = id;
        object.setFieldValue(id, &value, -1);
    }
}

void LookUp(int count) {
    Longs tables(count);
    const auto last = static_cast<short>(count);
    const double first = BestNanoseconds(1, [&tables, last] {
        tables.UseAgain();
        (void)zel::FindMessage(last, 1);
    });
    // Two types in turn, so that the object never has the right type already.
    CZELMessage object(0, 0);
    short type = last;
    const double create = BestNanoseconds(100000, [&object, &type, last] {
        type = type == last ? static_cast<short>(last - 1) : last;
        object.msgType = type;
        object.subType = 1;
        object.createStruct();
    });
    std::printf("%5d types: the last one first asked for %8.0f ns, then created in %5.1f ns\n", count, first, create);
}

// Nanoseconds for each message, from the time when all threads are ready until the last one ends.
double Exchange(int threads) {
    using Clock = std::chrono::steady_clock;
    constexpr int kMessages = 20000;
    std::latch ready(threads);
    std::vector<Clock::time_point> begin(static_cast<std::size_t>(threads));
    std::vector<Clock::time_point> end(begin.size());
    const auto work = [&](std::size_t thread) {
        CZELMessage sent(0, 0);
        CZELMessage received(0, 0);
        char buffer[kZELMaxFrame];
        long length = 0;
        ready.arrive_and_wait();
        const Clock::time_point begun = Clock::now();
        for (int message = 0; message < kMessages; ++message) {
            Fill(sent, 1);
            (void)sent.packMessage(buffer, &length);
            (void)received.unpackMessage(buffer);
        }
        begin[thread] = begun;
        end[thread] = Clock::now();
    };
    std::vector<std::thread> running;
    for (std::size_t thread = 0; thread < begin.size(); ++thread) {
        running.emplace_back(work, thread);
    }
    for (std::thread& thread : running) {
        thread.join();
    }
    const std::chrono::duration<double, std::nano> spent =
        *std::max_element(end.begin(), end.end()) - *std::min_element(begin.begin(), begin.end());
    return spent.count() / kMessages / threads;
}

// In turns, so that other work on the machine slows both equally.
void ExchangeByTwo() {
    constexpr int kTurns = 100;
    double one = 1e18;
    double two = 1e18;
    for (int turn = 0; turn < kTurns; ++turn) {
        one = std::min(one, Exchange(1));
        two = std::min(two, Exchange(2));
    }
    std::printf("  two threads exchange %.2f times the messages of one\n", one / two);
}

void Compress(short size) {
    std::string payload;
    while (payload.size() < static_cast<std::size_t>(size)) {
        payload += "field " + std::to_string(payload.size() * 2654435761U % 977);
    }
    char out[kZELMaxPayload];
    short length = 0;
    const double bare = BestNanoseconds(2000, [&] { (void)CrushCompress(payload.data(), out + 8, size); });
    const double framed = BestNanoseconds(
        2000, [&] { (void)zel::zelCompressPayload(zel::kPackCompressed, payload.data(), size, out, &length); });
    std::printf("%5d bytes: the compressor alone %8.0f ns, framed %8.0f ns: %+.1f%%\n", size, bare, framed,
                (framed / bare - 1) * 100);
}

}  // namespace

int main() {
    std::puts("The look-up of a message type");
    LookUp(10);
    LookUp(1000);
    {
        const Longs tables(1);
        std::puts("Messages of 20 fields, set, packed and unpacked");
        ExchangeByTwo();
    }
    std::puts("Compression");
    Compress(500);
    Compress(12000);
    return 0;
}
