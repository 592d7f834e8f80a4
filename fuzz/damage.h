// Damage to bytes as chosen by an input.
#ifndef ZEL_FUZZ_DAMAGE_H
#define ZEL_FUZZ_DAMAGE_H

#include <string>

#include "tests/support/random.h"

namespace zel::fuzz {

// Changes, cuts, inserts and removes bytes, until the input is empty.
inline void Damage(test::Random& input, std::string& bytes) {
    while (!input.IsEmpty() && !bytes.empty()) {
        const std::size_t at = input.Short() % bytes.size();
        switch (input.Below(4)) {
            case 0:
                bytes[at] = static_cast<char>(input.Byte());
                break;
            case 1:
                bytes.resize(at);
                break;
            case 2:
                bytes.insert(at, input.Bytes(1 + input.Below(8)));
                break;
            default:
                bytes.erase(at, static_cast<std::size_t>(1 + input.Below(8)));
        }
    }
}

}  // namespace zel::fuzz

#endif  // ZEL_FUZZ_DAMAGE_H
