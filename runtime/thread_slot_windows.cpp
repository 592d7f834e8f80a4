#include <windows.h>

#include "runtime/thread_slot.h"

namespace zel {

namespace {

// Taken when the file is loaded, given back when it is unloaded. Windows has no more than some thousand: without one
// nobody listens.
struct Slot {
    Slot() noexcept : index(TlsAlloc()) {}
    ~Slot() noexcept { TlsFree(index); }
    Slot(const Slot&) = delete;
    Slot& operator=(const Slot&) = delete;

    DWORD index;
};

const Slot slot;

}  // namespace

ZELListener* ThreadListener() noexcept {
    // Asking clears the thread's last error, which the program may still want to read.
    const DWORD lastError = GetLastError();
    auto* listener = static_cast<ZELListener*>(TlsGetValue(slot.index));
    SetLastError(lastError);
    return listener;
}

ZELListener* ReplaceThreadListener(ZELListener* listener) noexcept {
    ZELListener* before = ThreadListener();
    TlsSetValue(slot.index, listener);
    return before;
}

}  // namespace zel
