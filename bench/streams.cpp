// Terms built and read, against copying the same bytes. The time column is that of one pass over kTerms terms,
// per_term that of one; the rows of memcpy say what the copy costs per term.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "include/zelmessage.h"
#include "include/zelprovider.h"
#include "include/zelstream.h"

namespace {

constexpr int kTerms = 1000;

enum Kind : std::uint8_t { kShorts, kLongs, kMoneys, kTexts, kMixed };
const char* const kKindNames[] = {"short", "long", "money", "text of 8", "mixed"};
const char* const kComparisons[] = {"=", ">=", "!=", "<", "<=", ">"};

struct Ids {
    short side, quantity, price, symbol, average;
};

Ids ReadIds() {
    CZELMessage::init();
    VormaZelData* provider = CZELMessage::getVormaZelData();
    if (provider == nullptr) {
        return {};
    }
    const auto id = [provider](const char* name) { return static_cast<short>(provider->idFromName(name)); };
    return {id("SIDE"), id("QUANTITY"), id("LIMIT_PRICE"), id("SYMBOL"), id("AVERAGE_PRICE")};
}

const Ids& SampleIds() {
    static const Ids ids = ReadIds();
    return ids;
}

int AddTerm(ZELFilter& filter, Kind kind, int i, const Ids& ids) {
    const char* op = kComparisons[i % 6];
    switch (kind) {
        case kShorts:
            return filter.AddFilter(ids.side, op, static_cast<short>(i));
        case kLongs:
            return filter.AddFilter(ids.quantity, op, static_cast<long>(i));
        case kMoneys:
            return filter.AddFilter(ids.price, op, _money{i, 20});
        case kTexts:
            return filter.AddFilter(ids.symbol, op, "BARLEY24", 8);
        default:
            break;
    }
    return i % 5 == 4 ? filter.AddFilter(ids.average, op, 1.0 * i) : AddTerm(filter, static_cast<Kind>(i % 5), i, ids);
}

void Fill(ZELFilter& filter, Kind kind, const Ids& ids) {
    for (int i = 0; i < kTerms; ++i) {
        AddTerm(filter, kind, i, ids);
    }
}

void PerTerm(benchmark::State& state) {
    state.SetItemsProcessed(state.iterations() * kTerms);
    state.counters["per_term"] =
        benchmark::Counter(kTerms, benchmark::Counter::kIsIterationInvariantRate | benchmark::Counter::kInvert);
}

void Build(benchmark::State& state) {
    const auto kind = static_cast<Kind>(state.range(0));
    const Ids& ids = SampleIds();
    while (state.KeepRunning()) {
        ZELFilter filter;
        Fill(filter, kind, ids);
        benchmark::DoNotOptimize(filter.GetStream());
    }
    PerTerm(state);
    state.SetLabel(kKindNames[kind]);
}

void Read(benchmark::State& state) {
    const auto kind = static_cast<Kind>(state.range(0));
    ZELFilter filter;
    Fill(filter, kind, SampleIds());
    ZELFilterItem item;
    while (state.KeepRunning()) {
        filter.Rewind();
        int terms = 0;
        while (filter.GetFilterItem(item) == 0) {
            ++terms;
        }
        if (terms != kTerms) {
            state.SkipWithError("a term cannot be read");
            return;
        }
    }
    PerTerm(state);
    state.SetLabel(kKindNames[kind]);
}

void Memcpy(benchmark::State& state) {
    const auto kind = static_cast<Kind>(state.range(0));
    ZELFilter filter;
    Fill(filter, kind, SampleIds());
    const auto size = static_cast<std::size_t>(filter.GetLength());
    const char* bytes = filter.GetStream();
    std::vector<char> copy(size);
    while (state.KeepRunning()) {
        std::memcpy(copy.data(), bytes, size);
        benchmark::DoNotOptimize(copy.data());
        benchmark::ClobberMemory();
    }
    PerTerm(state);
    state.SetLabel(kKindNames[kind]);
}

void BuildKeys(benchmark::State& state) {
    while (state.KeepRunning()) {
        ZELSortData sort;
        for (int i = 0; i < kTerms; ++i) {
            sort.AddSortData(static_cast<short>(i), 1);
        }
        benchmark::DoNotOptimize(sort.GetStream());
    }
    PerTerm(state);
}

void ReadKeys(benchmark::State& state) {
    ZELSortData sort;
    for (int i = 0; i < kTerms; ++i) {
        sort.AddSortData(static_cast<short>(i), 1);
    }
    SortItem item;
    while (state.KeepRunning()) {
        sort.Rewind();
        while (sort.GetSortItem(item) == 0) {
            benchmark::DoNotOptimize(item);
        }
    }
    PerTerm(state);
}

BENCHMARK(Memcpy)->DenseRange(kShorts, kMixed);
BENCHMARK(Build)->DenseRange(kShorts, kMixed);
BENCHMARK(Read)->DenseRange(kShorts, kMixed);
BENCHMARK(BuildKeys);
BENCHMARK(ReadKeys);

}  // namespace

BENCHMARK_MAIN();
