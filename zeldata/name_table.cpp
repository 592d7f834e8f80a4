#include "zeldata/name_table.h"

#include <cstring>

namespace zel::image {

namespace {

// FNV-1a over the characters that count.
std::uint32_t HashName(const char* name) noexcept {
    std::uint32_t hash = 2166136261U;
    for (std::size_t i = 0; i < kMaxNameLength && name[i] != '\0'; ++i) {
        hash = (hash ^ static_cast<unsigned char>(name[i])) * 16777619U;
    }
    return hash;
}

}  // namespace

bool InsertName(std::uint16_t* slots, std::uint32_t slotCount, const char* name, std::uint16_t id) noexcept {
    const std::uint32_t hash = HashName(name);
    for (std::uint32_t probe = 0; probe < kMaxProbes; ++probe) {
        std::uint16_t& slot = slots[(hash + probe) & (slotCount - 1)];
        if (slot == 0) {
            slot = id;
            return true;
        }
    }
    return false;
}

std::uint16_t FindName(const ZELDictionaryHeader* dictionary, const std::uint16_t* slots, std::uint32_t slotCount,
                       const char* name) noexcept {
    const std::uint32_t hash = HashName(name);
    for (std::uint32_t probe = 0; probe < kMaxProbes; ++probe) {
        const std::uint16_t id = slots[(hash + probe) & (slotCount - 1)];
        if (id == 0 || std::strncmp(FieldRecord(dictionary, id).name, name, kMaxNameLength) == 0) {
            return id;
        }
    }
    return 0;
}

}  // namespace zel::image
