// Runs one scenario many times between two calls of MarkScenario, so that callgrind counts its instructions alone.
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "bench/order_record.h"

namespace {

using zel::bench::OrderIds;
using zel::bench::OrderRecord;

// Enough that the cost of the first round changes the counts by less than a thousandth.
constexpr int kRounds = 2000;

struct Bench {
    OrderIds ids = zel::bench::FindOrderIds();
    CZELMessage sent{0, 0};
    CZELMessage received{0, 0};
    char frame[kZELMaxFrame] = {};
    long length = 0;
    std::uint64_t sum = 0;
    const ZELBinding* binding = zel::bench::BindOrder();
    OrderRecord record = zel::bench::RecordOf(zel::bench::SampleOrder());
};

void Create(Bench& bench) {
    zel::bench::CreateOrder(bench.sent);
}
void Set(Bench& bench) {
    zel::bench::CreateOrder(bench.sent);
    zel::bench::SetOrder(bench.sent, bench.ids, zel::bench::SampleOrder());
}
void Pack(Bench& bench) {
    bench.sum += static_cast<std::uint64_t>(bench.sent.packMessage(bench.frame, &bench.length));
}
void Unpack(Bench& bench) {
    bench.sum += static_cast<std::uint64_t>(bench.received.unpackMessage(bench.frame));
}
void Get(Bench& bench) {
    bench.sum += zel::bench::ReadOrder(bench.received, bench.ids);
}

void PackRecord(Bench& bench) {
    std::size_t length = 0;
    bench.sum += static_cast<std::uint64_t>(
        ZELPackRecord(bench.binding, &bench.record, nullptr, bench.frame, sizeof bench.frame, &length, nullptr));
}
void UnpackRecord(Bench& bench) {
    bench.sum += static_cast<std::uint64_t>(ZELUnpackRecord(
        bench.binding, bench.frame, static_cast<std::size_t>(bench.length), &bench.record, nullptr, nullptr));
}

struct Scenario {
    const char* name;
    int format2;
    void (*run)(Bench&);
};

constexpr Scenario kScenarios[] = {
    {"create", 0, Create},
    {"create-set", 0, Set},
    {"pack", 0, Pack},
    {"unpack", 0, Unpack},
    {"get", 0, Get},
    {"unpack-format2", 1, Unpack},
    {"record-pack", 0, PackRecord},
    {"record-unpack", 0, UnpackRecord},
};

}  // namespace

// callgrind is told to count inside this function.
extern "C" __attribute__((noinline)) void RunCounted(void (*run)(Bench&), Bench& bench) {
    for (int round = 0; round < kRounds; ++round) {
        run(bench);
    }
}

int main(int argc, char** argv) {
    CZELMessage::init();
    if (CZELMessage::getVormaZelData() == nullptr || argc != 2) {
        return 1;
    }
    int status = 1;
    for (const Scenario& scenario : kScenarios) {
        if (std::strcmp(scenario.name, argv[1]) != 0) {
            continue;
        }
        Bench bench;
        bench.sent.useFormat2 = scenario.format2;
        Set(bench);
        Pack(bench);
        Unpack(bench);
        RunCounted(scenario.run, bench);
        status = bench.sum == 1 ? 1 : 0;
        ZELFreeBinding(bench.binding);
    }
    CZELMessage::terminate();
    return status;
}
