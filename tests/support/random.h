// Where generators take their choices from: noise that is the same in every run, or the bytes of a fuzzer's input.
#ifndef ZEL_TESTS_SUPPORT_RANDOM_H
#define ZEL_TESTS_SUPPORT_RANDOM_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

namespace zel::test {

class Random {
public:
    explicit Random(std::uint32_t seed) : state_(seed), isEndless_(true) {}
    // Zeros follow the bytes.
    Random(const std::uint8_t* bytes, std::size_t size) : next_(bytes), end_(bytes + size) {}

    bool IsEmpty() const { return next_ == end_ && !isEndless_; }

    std::uint8_t Byte() {
        if (next_ != end_) {
            return *next_++;
        }
        state_ = isEndless_ ? state_ * 1664525U + 1013904223U : 0;
        return static_cast<std::uint8_t>(state_ >> 24U);
    }
    std::uint16_t Short() {
        const unsigned high = Byte();
        return static_cast<std::uint16_t>(high << 8U | Byte());
    }
    std::uint32_t Long() {
        const std::uint32_t high = Short();
        return high << 16U | Short();
    }
    std::uint64_t Wide() {
        const std::uint64_t high = Long();
        return high << 32U | Long();
    }
    std::uint32_t operator()() { return Long(); }

    // 0 to limit - 1; limit is 1 to 65536.
    int Below(int limit) { return (limit <= 256 ? Byte() : Short()) % limit; }

    // True once in `n` times, and never once the input has run out.
    bool OneIn(int n) { return !IsEmpty() && Byte() % n == n - 1; }

    template <typename T, std::size_t count>
    T Pick(const T (&from)[count]) {
        return from[Below(static_cast<int>(count))];
    }

    std::string Bytes(int size) {
        std::string bytes(static_cast<std::size_t>(size), '\0');
        std::generate(bytes.begin(), bytes.end(), [this] { return static_cast<char>(Byte()); });
        return bytes;
    }

    // What is left of an input.
    std::string Rest() { return Bytes(static_cast<int>(end_ - next_)); }

private:
    const std::uint8_t* next_ = nullptr;
    const std::uint8_t* end_ = nullptr;
    std::uint32_t state_ = 0;
    bool isEndless_ = false;
};

}  // namespace zel::test

#endif  // ZEL_TESTS_SUPPORT_RANDOM_H
