// Turns the bytes of an input into choices. After the end of the input all choices are 0.
#ifndef ZEL_FUZZ_INPUT_H
#define ZEL_FUZZ_INPUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

namespace zel::fuzz {

class Input {
public:
    Input(const std::uint8_t* data, std::size_t size) : next_(data), end_(data + size) {}

    bool IsEmpty() const { return next_ == end_; }

    std::uint8_t Byte() { return IsEmpty() ? std::uint8_t{0} : *next_++; }

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

    // 0 to limit - 1; limit is 1 to 256.
    int Below(int limit) { return Byte() % limit; }

    // True one time in `n`; never after the end of the input.
    bool OneIn(int n) { return !IsEmpty() && Byte() % n == n - 1; }

    std::string Bytes(std::size_t size) {
        const std::size_t taken = std::min(size, static_cast<std::size_t>(end_ - next_));
        std::string bytes(reinterpret_cast<const char*>(next_), taken);
        next_ += taken;
        bytes.resize(size);
        return bytes;
    }

private:
    const std::uint8_t* next_;
    const std::uint8_t* end_;
};

}  // namespace zel::fuzz

#endif  // ZEL_FUZZ_INPUT_H
