// Values to text beside the same work done by the C library, and a filter stream.
#ifndef ZEL_BENCH_PEERS_VALUES_H
#define ZEL_BENCH_PEERS_VALUES_H

#include <functional>
#include <string>
#include <vector>

namespace zel::bench {

struct Conversion {
    std::string name;
    std::function<std::uint64_t()> zel;
    std::function<std::uint64_t()> printed;  // or none
    double zelTime = 0;
    double printedTime = 0;
};

// Timed.
std::vector<Conversion> TimeConversions();

}  // namespace zel::bench

#endif  // ZEL_BENCH_PEERS_VALUES_H
