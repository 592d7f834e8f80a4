#include <windows.h>

#include "runtime/error_box.h"

namespace zel {

void ShowErrorBox(const char* text, const char* caption) noexcept {
    static_assert((MB_ICONHAND | MB_SYSTEMMODAL) == 0x1010);
    MessageBoxA(nullptr, text, caption, MB_ICONHAND | MB_SYSTEMMODAL);
}

}  // namespace zel
