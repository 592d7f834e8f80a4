#include "tests/support/fake_crush.h"

#include "crush32/crush32.h"

namespace {
zel::test::FakeCrush* current = nullptr;
}  // namespace

namespace zel::test {
void UseFakeCrush(FakeCrush* fake) {
    current = fake;
}
}  // namespace zel::test

extern "C" {

short __real_CrushBegin() noexcept;
int __real_CrushCompress(const char* source, char* destination, int sourceLength) noexcept;
short __real_CrushExpand(const char* source, char* destination, int expandedLength, int compressedLength) noexcept;
void __real_CrushEnd() noexcept;

short __wrap_CrushBegin() noexcept {
    if (current == nullptr) {
        return __real_CrushBegin();
    }
    ++current->begins;
    return current->beginStatus;
}

int __wrap_CrushCompress(const char* source, char* destination, int sourceLength) noexcept {
    if (current != nullptr && current->compressResult) {
        return *current->compressResult;
    }
    return __real_CrushCompress(source, destination, sourceLength);
}

short __wrap_CrushExpand(const char* source, char* destination, int expandedLength, int compressedLength) noexcept {
    if (current != nullptr) {
        ++current->expansions;
        if (current->expandStatus) {
            return *current->expandStatus;
        }
    }
    return __real_CrushExpand(source, destination, expandedLength, compressedLength);
}

void __wrap_CrushEnd() noexcept {
    if (current != nullptr) {
        ++current->ends;
    }
    __real_CrushEnd();
}

}  // extern "C"
