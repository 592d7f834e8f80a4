// One pointer that each thread has for itself, null at first. Not a thread-local object: those take notifications of
// threads that start and end, which the library's files go without.
#ifndef ZEL_RUNTIME_THREAD_SLOT_H
#define ZEL_RUNTIME_THREAD_SLOT_H

#include "include/zelreport.h"

namespace zel {

ZELListener* ThreadListener() noexcept;
// Returns the one before.
ZELListener* ReplaceThreadListener(ZELListener* listener) noexcept;

}  // namespace zel

#endif  // ZEL_RUNTIME_THREAD_SLOT_H
