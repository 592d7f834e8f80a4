// Replaces the compression library on demand: sets results and counts passes. The linker routes all calls here
// (--wrap); by default they go on to the real library.
#ifndef ZEL_TESTS_SUPPORT_FAKE_CRUSH_H
#define ZEL_TESTS_SUPPORT_FAKE_CRUSH_H

#include <optional>

namespace zel::test {

struct FakeCrush {
    short beginStatus = 0;
    std::optional<int> compressResult;
    std::optional<short> expandStatus;
    int begins = 0;
    int ends = 0;
    int expansions = 0;
};

// Uses this one from now on; null: the real library.
void UseFakeCrush(FakeCrush* fake);

}  // namespace zel::test

#endif  // ZEL_TESTS_SUPPORT_FAKE_CRUSH_H
