#include "zeldata/checksum.h"

#include <array>

namespace zel::image {

namespace {

constexpr std::array<std::uint32_t, 256> MakeTable() {
    std::array<std::uint32_t, 256> table{};
    for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
        std::uint32_t value = byte;
        for (int bit = 0; bit < 8; ++bit) {
            value = (value & 1U) != 0 ? value >> 1U ^ 0xEDB88320U : value >> 1U;
        }
        table[byte] = value;
    }
    return table;
}

constexpr std::array<std::uint32_t, 256> kTable = MakeTable();

}  // namespace

std::uint32_t Checksum(const void* bytes, std::size_t size) noexcept {
    const auto* next = static_cast<const unsigned char*>(bytes);
    std::uint32_t value = ~0U;
    for (std::size_t i = 0; i < size; ++i) {
        value = kTable[(value ^ next[i]) & 0xFFU] ^ value >> 8U;
    }
    return ~value;
}

}  // namespace zel::image
