#include <cstdio>

#include "runtime/error_box.h"

namespace zel {

void ShowErrorBox(const char* text, const char* caption) noexcept {
    (void)std::fprintf(stderr, "%s: %s\n", caption, text);
}

}  // namespace zel
