// One entry of the side-by-side: how a library turns the order into bytes and back.
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
    // Makes the bytes from plain values and returns how many.
    std::function<std::size_t()> encode;
    // Reads every value from the bytes of `encode`. The result depends on all of them; 0 when they are refused.
    std::function<std::uint64_t()> decode;
};

template <typename T>
std::uint64_t Bits(const T& value) {
    std::uint64_t bits = 0;
    std::memcpy(&bits, &value, sizeof value);
    return bits;
}

// Each appends the entries of its library. Only those of installed libraries are linked.
void AddAnyMessage(std::vector<Contender>& contenders);
void AddRecord(std::vector<Contender>& contenders);
void AddProtobuf(std::vector<Contender>& contenders);
void AddFlatbuffers(std::vector<Contender>& contenders);
void AddCapnProto(std::vector<Contender>& contenders);
void AddMsgpack(std::vector<Contender>& contenders);
void AddQuickfix(std::vector<Contender>& contenders);

}  // namespace zel::bench

#endif  // ZEL_BENCH_PEERS_CONTENDER_H
