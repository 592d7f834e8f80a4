#include "runtime/thread_slot.h"

namespace zel {

namespace {

// A plain pointer: nothing is run when a thread starts or ends.
thread_local ReportListener* listener = nullptr;

}  // namespace

ReportListener* ThreadListener() noexcept {
    return listener;
}

void SetThreadListener(ReportListener* threads) noexcept {
    listener = threads;
}

}  // namespace zel
