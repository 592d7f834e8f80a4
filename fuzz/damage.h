// Damage to bytes, chosen by an input.
#ifndef ZEL_FUZZ_DAMAGE_H
#define ZEL_FUZZ_DAMAGE_H

#include <string>

#include "fuzz/input.h"

namespace zel::fuzz {

// Changes, cuts, inserts and removes bytes from the position `from` on.
inline void Damage(Input& input, std::string& bytes, std::size_t from) {
    for (int n = input.Below(6); n >= 0 && bytes.size() > from; --n) {
        const std::size_t at = from + input.Short() % (bytes.size() - from);
        switch (input.Below(4)) {
            case 0:
                bytes[at] = static_cast<char>(input.Byte());
                break;
            case 1:
                bytes.resize(at);
                break;
            case 2:
                bytes.insert(at, input.Bytes(static_cast<std::size_t>(input.Below(8))));
                break;
            default:
                bytes.erase(at, static_cast<std::size_t>(input.Below(8)));
        }
    }
}

}  // namespace zel::fuzz

#endif  // ZEL_FUZZ_DAMAGE_H
