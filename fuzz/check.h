// A check of a fuzz target. One that fails is named on standard error and ends the process.
#ifndef ZEL_FUZZ_CHECK_H
#define ZEL_FUZZ_CHECK_H

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "include/zelmessage.h"

namespace zel::fuzz {

inline char lastReport[256];

inline void Check(bool isMet, const char* demand) {
    if (!isMet) {
        (void)std::fprintf(stderr, "not met: %s (last report: %s)\n", demand, lastReport);
        std::abort();
    }
}

// A sink that reads each report, which shows where one has no end.
inline void KeepReport(int /*code*/, const char* text, void* /*context*/) {
    Check(std::strlen(text) < sizeof lastReport, "a report is terminated");
    std::strcpy(lastReport, text);
}

}  // namespace zel::fuzz

#endif  // ZEL_FUZZ_CHECK_H
