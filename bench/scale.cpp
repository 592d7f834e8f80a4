// What must not grow: the lookup of a type with the number of types, the time of a message with the number of threads,
// and the time of compression with its framing. Best of several rounds.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "bench/made_tables.h"
#include "bench/two_threads.h"
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

void ExchangeByTwo() {
    const double ratio = zel::bench::TwoThreadsOverOne(20000, [](auto repeat) {
        CZELMessage sent(0, 0);
        CZELMessage received(0, 0);
        char buffer[kZELMaxFrame];
        long length = 0;
        repeat([&] {
            Fill(sent, 1);
            (void)sent.packMessage(buffer, &length);
            (void)received.unpackMessage(buffer);
        });
    });
    std::printf("  two threads exchange %.2f times the messages of one\n", ratio);
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
