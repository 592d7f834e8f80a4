// A check of a fuzz target. One that fails is named on standard error and ends the process.
#ifndef ZEL_FUZZ_CHECK_H
#define ZEL_FUZZ_CHECK_H

#include <cstdio>
#include <cstdlib>

namespace zel::fuzz {

inline void Check(bool isMet, const char* demand) {
    if (!isMet) {
        (void)std::fprintf(stderr, "not met: %s\n", demand);
        std::abort();
    }
}

}  // namespace zel::fuzz

#endif  // ZEL_FUZZ_CHECK_H
