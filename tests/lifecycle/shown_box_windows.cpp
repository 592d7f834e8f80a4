// clang-format off
#include <windows.h>
// clang-format on

#include <string>

#include "tests/lifecycle/shown_box.h"

namespace {

std::string shown;

int WINAPI RecordBox(HWND owner, LPCSTR text, LPCSTR caption, UINT style) {
    shown += std::string(caption).append(": ").append(text).append("\n");
    if (owner != nullptr || style != 0x1010) {
        shown += "wrong owner or style " + std::to_string(style) + '\n';
    }
    return IDOK;
}

}  // namespace

#if defined(_WIN64)
#define IMPORTED_BOX "__imp_MessageBoxA"
#else
#define IMPORTED_BOX "__imp__MessageBoxA@16"
#endif

// The library's import of MessageBoxA: the linker finds this one first.
extern "C" {
extern decltype(&MessageBoxA) messageBox __asm__(IMPORTED_BOX);
decltype(&MessageBoxA) messageBox = &RecordBox;
}

namespace zel::test {

std::string BoxesShownBy(const std::function<void()>& action) {
    shown.clear();
    action();
    return shown;
}

}  // namespace zel::test
