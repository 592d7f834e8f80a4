// The error box: what a user sees when a message object finds no provider.
#ifndef ZEL_RUNTIME_ERROR_BOX_H
#define ZEL_RUNTIME_ERROR_BOX_H

namespace zel {

// A modal box with a stop sign on Windows; one line on standard error on Linux.
void ShowErrorBox(const char* text, const char* caption) noexcept;

}  // namespace zel

#endif  // ZEL_RUNTIME_ERROR_BOX_H
