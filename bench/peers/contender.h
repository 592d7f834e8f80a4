// What the side-by-side runs: one way each to turn the order into bytes and back, by one library.
#ifndef ZEL_BENCH_PEERS_CONTENDER_H
#define ZEL_BENCH_PEERS_CONTENDER_H

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "bench/order.h"

namespace zel::bench {

struct Contender {
    std::string name;
    // Makes the bytes from plain values and answers how many they are.
    std::function<std::size_t()> encode;
    // Reads every value from the bytes that `encode` has made; the answer depends on all of them. 0: they are refused.
    std::function<std::uint64_t()> decode;
};

template <typename T>
std::uint64_t Bits(const T& value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof value);
    return bits;
}

// Each appends its own ways. Only those of the libraries that are installed are linked.
void AddRecord(std::vector<Contender>& contenders);
void AddProtobuf(std::vector<Contender>& contenders);
void AddFlatbuffers(std::vector<Contender>& contenders);
void AddCapnProto(std::vector<Contender>& contenders);
void AddMsgpack(std::vector<Contender>& contenders);
void AddQuickfix(std::vector<Contender>& contenders);

}  // namespace zel::bench

#endif  // ZEL_BENCH_PEERS_CONTENDER_H
