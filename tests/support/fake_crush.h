// Stands in front of the compression library: forces its answers and counts its passes. The linker routes the library's
// calls here (--wrap); unless told otherwise the real library answers.
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
    int startUps = 0;
    int shutDowns = 0;
};

// The one that answers from now on; null: the real library.
void UseFakeCrush(FakeCrush* fake);

}  // namespace zel::test

#endif  // ZEL_TESTS_SUPPORT_FAKE_CRUSH_H
